#pragma once

#include <string>

#include "support/user_interface.h"

namespace vellandra {

struct MergeAnswer {
  enum class Action { close, merge, save };
  Action action = Action::close;
  std::string percentage;  ///< as typed
  bool enlarge = false;    ///< the base map is enlarged first
};

/// The dialog "Merge Maps" as it opens, and again after each of its actions.
struct MergeQuestion {
  std::string expandCaption;      ///< beside the box for enlarging the base map
  bool merged = false;            ///< there is a result, which can be saved
  std::string percentage = "50";  ///< the field labelled transparency, as it was left
  bool enlarge = false;           ///< the box, as it was left
  Picture preview;                ///< the base map, or the result, scaled down
  MergeAnswer answer;             ///< what the person wants done next
};

}  // namespace vellandra

#pragma once

#include <map>
#include <string>
#include <string_view>

namespace vellandra {

/// Sequences of commands on a few small maps: opened, corrected, written, viewed, cut into tiles, merged, rescaled and
/// cropped, with their files damaged in between. The bytes of an input choose the commands and answer their questions.
class Sequences {
 public:
  /// Makes the maps in `folder`, which is to be empty, with calibrations in every format that is written.
  Sequences(std::string folder, std::string datumsPath);

  /// Returns what must not happen, whatever the input: an exception that no command throws, an open map that a failing
  /// command changed, an output that is not whole, or a map that opens otherwise than in a new program. `went` is set
  /// when a command went through to its end.
  std::string run(std::string_view input, bool& went) const;

 private:
  std::string folder_, datumsPath_;
  std::map<std::string, std::string> files_;  ///< names and contents at the start of a run
};

}  // namespace vellandra

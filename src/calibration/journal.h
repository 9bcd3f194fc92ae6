#pragma once

#include <string_view>

namespace vellandra {

/// Where work on a calibration says what it does. This one says it to nobody, for work done on trial, again and again.
class Journal {
 public:
  virtual ~Journal() = default;
  virtual void log(std::string_view /*text*/) const {}   ///< a line of the log
  virtual void show(std::string_view /*text*/) const {}  ///< a line of the log and of the message panel
};

}  // namespace vellandra

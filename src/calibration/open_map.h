#pragma once

#include <string>

#include "calibration/calibration.h"
#include "calibration/driver.h"
#include "calibration/unfinished.h"

namespace vellandra {

/// Sets the open map aside (calibration, driver, datum, kept points) while a command works with others, and puts it
/// back at the end of the command, also after an error. The panel's text goes on. With `keepNew` the map that is open
/// then stays.
class OpenMapKeeper {
 public:
  OpenMapKeeper();
  OpenMapKeeper(const OpenMapKeeper&) = delete;
  OpenMapKeeper& operator=(const OpenMapKeeper&) = delete;
  ~OpenMapKeeper();
  void keepNew();

 private:
  Calibration calibration_;
  Driver driver_;
  std::string datumName_;
  UnfinishedAside unfinished_;
  bool putBack_ = true;
};

/// Opens `map` whose image is, or will be, `imagePath`, as if it had been read from a calibration beside the image.
/// Its transform has to be valid.
void openDerivedMap(const Calibration& map, const std::string& imagePath);

}  // namespace vellandra

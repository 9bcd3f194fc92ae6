#include "calibration/open_map.h"

#include <optional>

#include "calibration/datum_matching.h"
#include "calibration/log.h"
#include "calibration/messages.h"
#include "calibration/preferences.h"
#include "calibration/reference_pair.h"
#include "geodesy/datum.h"

namespace vellandra {
namespace {

void replaceCalibration(const Calibration& map) {
  std::string kept = std::move(calibration.message);
  calibration = map;
  calibration.message = std::move(kept);
}

}  // namespace

OpenMapKeeper::OpenMapKeeper() : calibration_(calibration), driver_(driver), datumName_(inputDatumName) {}

OpenMapKeeper::~OpenMapKeeper() {
  if (putBack_) {
    replaceCalibration(calibration_);
    driver = driver_;
    inputDatumName = datumName_;
  }
  flushLog();
  updateMenuStates();
}

void OpenMapKeeper::keepNew() {
  putBack_ = false;
  unfinished_.drop();
}

void openDerivedMap(const Calibration& map, const std::string& imagePath) {
  replaceCalibration(map);
  calibration.imagePath = imagePath;
  inputDatumName = wgs84Name;
  splitInputPath(imagePath);
  driver.inputPath = imagePath;
  driver.inputFormat = nullptr;
  driver.transformValid = true;
  driver.calibrationPending = false;
  const std::optional<ReferencePair> pair = chooseReferencePair(calibration, std::nullopt, runJournal());
  if (!pair) return;
  driver.referencePair = *pair;
  driver.metresPerPixel = metresPerPixel(calibration, *pair);
  driver.worldFile = worldFileTerms(calibration, *pair, preferences.stretchNotRotate);
}

}  // namespace vellandra

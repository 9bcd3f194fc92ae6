#include "ui/commands.h"

#include <cstdint>
#include <optional>

#include "calibration/calibration.h"
#include "calibration/clipboard_points.h"
#include "calibration/datum_matching.h"
#include "calibration/driver.h"
#include "calibration/messages.h"
#include "calibration/open_map.h"
#include "calibration/pickers.h"
#include "calibration/points.h"
#include "calibration/unfinished.h"
#include "formats/image_identification.h"
#include "geodesy/datum.h"
#include "imaging/garmin_map.h"
#include "imaging/map_image.h"
#include "imaging/trekbuddy.h"
#include "support/paths.h"
#include "support/user_interface.h"
#include "support/version.h"

namespace vellandra {
namespace {

bool haveDatums() {
  LoadDatums();
  if (datumTable.count > 0) return true;
  tell("Unable to load datums.txt", "No datums");
  return false;
}

/// The map on show becomes the open map, as yet without points.
void openShownMap(const std::string& path, std::int16_t width, std::int16_t height) {
  calibration.clear();
  calibration.imagePath = path;
  calibration.imageWidth = width;
  calibration.imageHeight = height;
  splitInputPath(path);
  driver.inputPath = path;
  driver.inputFormat = nullptr;
  driver.inputIsWindows1252 = false;
  driver.transformValid = false;
  driver.whyNotValid = Driver().whyNotValid;
  driver.calibrationPending = false;
  inputDatumName.clear();
  beginMapOnPanel(path);
  updateMenuStates();
}

/// The same for a new calibration. The one before has been given up.
void beginCalibration(const std::string& path, std::int16_t width, std::int16_t height) {
  dropUnfinished();
  openShownMap(path, width, height);
}

/// Converts and fits the points that were placed.
bool calculate() {
  if (calibration.pointCount < 2) {
    driver.transformValid = false;
    driver.whyNotValid = Driver().whyNotValid;
    updateMenuStates();
    showMessage("Insufficient points to proceed");
    return false;
  }
  if (inputDatumName.empty()) inputDatumName = calibration.points[1].datumName;
  driver.stage = recalculate;
  driver.calibrationPending = true;
  return do_it();
}

/// Shows the image of `work`, which becomes the open map with its points. False, with the person told, when it is not
/// there as it was.
bool openUnfinished(const UnfinishedCalibration& work) {
  std::string image = work.map.imagePath;
  std::int16_t width = 0;
  std::int16_t height = 0;
  if (image == clipboardImage) {
    if (!loadMapImage(unfinishedPicture())) return false;
    mapImage.path = image;
    mapImage.file.reset();
  } else {
    getidata(image, width, height);
    if (image.empty() || !loadMapImage(image)) return false;
  }
  openShownMap(image, work.map.imageWidth, work.map.imageHeight);
  const std::string problem = sizeProblem(mapImage.bitmap);
  if (!problem.empty()) {
    calibration.clear();
    tell(problem);
    return false;
  }
  calibration.projection = work.map.projection;
  setEnteredPoints(calibration, enteredPoints(work.map));
  splitInputPath(work.inputPath);
  driver.inputPath = work.inputPath;
  driver.inputIsWindows1252 = work.inputIsWindows1252;
  return true;
}

/// Asks before another map takes the place of a calibration that is in no file yet. True to go on.
bool mayReplacePending() {
  return !driver.calibrationPending || askOkCancel("Calibrations not written : OK to read else cancel", "Not written");
}

}  // namespace

bool mnufo(const std::string& path) {
  driver.stage = openCalibration;
  if (!mayReplacePending()) return false;
  driver.offeredPath = path;
  const bool done = do_it();
  driver.offeredPath.clear();
  return done;
}

bool mnulm(const Viewer& viewer, const std::string& path) {
  if (!mayReplacePending()) return false;
  std::string image = path.empty() ? getifile() : path;
  if (image.empty()) return false;
  std::int16_t width = 0;
  std::int16_t height = 0;
  getidata(image, width, height);
  if (image.empty() || !haveDatums() || !loadMapImage(image)) return false;
  OpenMapKeeper openMap;
  beginCalibration(image, width, height);
  viewer(ViewerMode::calibrate);
  openMap.keepNew();
  return calculate();
}

bool mnulic(const Viewer& viewer) {
  if (!mayReplacePending() || !haveDatums()) return false;
  if (!takeMapImage(userInterface().clipboardPicture())) {
    tell("There is no picture on the clipboard");
    return false;
  }
  beginCalibration(clipboardImage, static_cast<std::int16_t>(mapImage.bitmap.width()),
                   static_cast<std::int16_t>(mapImage.bitmap.height()));
  const Answer answer = userInterface().messageBox(
      {"Click 'Yes' to copy coordinates from the clipboard\n'No' to calibrate manually", "Vellandra", Buttons::yesNo,
       Icon::question, userInterface().clipboardText().empty()});
  if (answer == Answer::yes) {
    readClipboardPoints(userInterface().clipboardText());
    keepUnfinished(calibration);
  } else {
    viewer(ViewerMode::calibrate);
  }
  return calculate();
}

bool goOnWithUnfinished(const Viewer& viewer) {
  int number = 0;
  while (const std::optional<UnfinishedCalibration> work = takeUnfinished(number)) {
    const std::string name(fileName(work->map.imagePath));
    if (askOkCancel("The calibration of " + name + " was not finished : OK to go on with it else cancel",
                    "Not finished")) {
      if (!haveDatums() || !openUnfinished(*work)) {
        leaveUnfinished();
        return false;
      }
      if (!viewer(ViewerMode::calibrate).recalculate) setEnteredPoints(calibration, {});
      return calculate();
    }
    askOkCancel("Points not kept : OK to abandon them else cancel", "Not kept") ? dropUnfinished() : leaveUnfinished();
  }
  return true;
}

bool mnuwc() {
  driver.stage = writeCalibrations;
  return do_it();
}

// The tile writers of imaging/ take these two places.
bool mnuwmt() {
  return WriteTrekBuddyTiles();
}

bool mwgcm() {
  return WriteGarminCustomMap();
}

bool showOpenMap() {
  if (!isOnShow(calibration.imagePath) && !loadMapImage(calibration.imagePath)) return false;
  const std::string problem = sizeProblem(mapImage.bitmap);
  if (!problem.empty()) tell(problem + "\nOpen the calibration again");
  return problem.empty();
}

bool mnuvc(const Viewer& viewer) {
  if (!showOpenMap()) return false;
  if (!viewer(ViewerMode::view).recalculate) return true;
  if (calibration.pointCount >= 2) {
    showMessage("Recalculating...........................");
    driver.inputFormat = nullptr;
  }
  return calculate();
}

bool mnuabout() {
  userInterface().messageBox({"Calibration and conversion " + std::string(programVersion) +
                                  "\nCorvane 2026\n"
                                  "support@corvane.example\n"
                                  "Uses FreeImage : see Readme for details",
                              "About"});
  return true;
}

}  // namespace vellandra

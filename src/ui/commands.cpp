#include "ui/commands.h"

#include <array>
#include <cstdint>
#include <ctime>
#include <optional>
#include <utility>

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

/// As OpenMapKeeper; what is on show is kept with it when it is the clipboard's, which could not be loaded again.
class ShownMapKeeper {
 public:
  ShownMapKeeper() {
    if (calibration.imagePath == clipboardImage && isOnShow(clipboardImage)) picture_ = std::exchange(mapImage, {});
  }
  ShownMapKeeper(const ShownMapKeeper&) = delete;
  ShownMapKeeper& operator=(const ShownMapKeeper&) = delete;
  ~ShownMapKeeper() {
    if (picture_.bitmap) mapImage = std::move(picture_);
  }
  void keepNew() {
    openMap_.keepNew();
    picture_ = MapImage();
  }

 private:
  MapImage picture_;
  OpenMapKeeper openMap_;
};

/// The viewer keeps the points as they change, but does no work that takes long.
ViewerResult viewKeeping(const Viewer& viewer, ViewerMode mode) {
  keepUnfinishedPicture();
  return viewer(mode);
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

/// Converts and fits the points that were placed.
bool calculate() {
  if (calibration.pointCount < 2) {
    // They are in no file either.
    if (!enteredPoints(calibration).empty()) driver.calibrationPending = true;
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

/// Date and time of the locale, as in the log.
std::string shownTime(std::time_t time) {
  std::tm local{};
  localtime_r(&time, &local);
  std::array<char, 128> text{};
  return {text.data(), std::strftime(text.data(), text.size(), "%x %X", &local)};
}

bool asksToGoOn(const UnfinishedCalibration& work) {
  const std::size_t count = enteredPoints(work.map).size();
  return askOkCancel("The calibration of " + std::string(fileName(work.map.imagePath)) + ", " + std::to_string(count) +
                         (count == 1 ? " point" : " points") + " of " + shownTime(work.keptAt) +
                         ", was not finished : OK to go on with it else cancel",
                     "Not finished");
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
  if (image.empty() || !haveDatums()) return false;
  ShownMapKeeper openMap;
  if (!loadMapImage(image)) return false;
  openShownMap(image, width, height);
  viewer(ViewerMode::calibrate);
  openMap.keepNew();
  return calculate();
}

bool mnulic(const Viewer& viewer) {
  if (!mayReplacePending() || !haveDatums()) return false;
  ShownMapKeeper openMap;
  if (!takeMapImage(userInterface().clipboardPicture())) {
    tell("There is no picture on the clipboard");
    return false;
  }
  openShownMap(clipboardImage, static_cast<std::int16_t>(mapImage.bitmap.width()),
               static_cast<std::int16_t>(mapImage.bitmap.height()));
  const Answer answer = userInterface().messageBox(
      {"Click 'Yes' to copy coordinates from the clipboard\n'No' to calibrate manually", "Vellandra", Buttons::yesNo,
       Icon::question, userInterface().clipboardText().empty()});
  if (answer == Answer::yes) {
    readClipboardPoints(userInterface().clipboardText());
    keepUnfinishedPicture();
    keepUnfinished(calibration);
  } else {
    viewKeeping(viewer, ViewerMode::calibrate);
  }
  openMap.keepNew();
  return calculate();
}

bool goOnWithUnfinished(const Viewer& viewer) {
  int number = 0;
  while (const std::optional<UnfinishedCalibration> work = takeUnfinished(number)) {
    if (asksToGoOn(*work)) {
      if (!haveDatums() || !openUnfinished(*work)) {
        leaveUnfinished();
        return false;
      }
      driver.calibrationPending = true;
      if (!viewer(ViewerMode::calibrate).recalculate) {
        setEnteredPoints(calibration, {});
        driver.calibrationPending = false;
      }
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
  if (!viewKeeping(viewer, ViewerMode::view).recalculate) return true;
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

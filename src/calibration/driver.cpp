#include "calibration/driver.h"

#include <cmath>
#include <utility>

#include "calibration/calibration.h"
#include "calibration/datum_matching.h"
#include "calibration/fit.h"
#include "calibration/log.h"
#include "calibration/messages.h"
#include "calibration/pickers.h"
#include "calibration/points.h"
#include "calibration/preferences.h"
#include "calibration/unfinished.h"
#include "geodesy/datum.h"
#include "support/files.h"
#include "support/numbers.h"
#include "support/paths.h"
#include "support/text.h"
#include "support/user_interface.h"

namespace vellandra {

Driver driver;

namespace {

constexpr const char* noImage = "Unable to proceed without matching image";

/// Tells the person why the run stops.
bool stop(const std::string& text, const std::string& title = "Vellandra") {
  writeLog(text);
  tell(text, title);
  return false;
}

/// Which commands can be used is settled after every run, also after one that stopped.
struct MenuStatesAtEnd {
  MenuStatesAtEnd() = default;
  MenuStatesAtEnd(const MenuStatesAtEnd&) = delete;
  MenuStatesAtEnd& operator=(const MenuStatesAtEnd&) = delete;
  ~MenuStatesAtEnd() {
    flushLog();
    updateMenuStates();
  }
};

/// The calibration to read; empty, with the person told, when there is none.
std::string obtainInputPath() {
  std::string chosen = driver.inputPath;
  if (driver.stage != batch) {
    chosen = std::exchange(driver.offeredPath, {});
    if (chosen.empty()) chosen = getfile(driver.pickerTitle);
    if (chosen.empty()) {
      stop("No input file specified", "No input");
      return {};
    }
  }
  std::string found = findFile(chosen);
  if (found.empty()) stop("Missing input file");
  return found;
}

/// Copies the file into the log. Returns whether its text is not UTF-8.
bool logInputFile(const std::string& path) {
  writeLog(path);
  TextFile file(path);
  const bool isWindows1252 = !isUtf8(file.content());
  constexpr std::size_t most = 4'000'000;  // bytes: a log that fills the disk helps nobody
  const std::uint64_t end = logSize() + most;
  std::string_view line;
  while (getline(file, line)) {
    if (logSize() >= end) {
      writeLog("the rest of the file is not copied");
      break;
    }
    writeLog(line.substr(0, static_cast<std::size_t>(end - logSize())));
  }
  return isWindows1252;
}

bool readCalibration() {
  LoadDatums();
  if (datumTable.count == 0) return stop("Unable to load datums.txt", "No datums");
  showPanel();
  const std::string path = obtainInputPath();
  if (path.empty()) return false;
  const bool isWindows1252 = logInputFile(path);
  const FormatRow* format = formatOf(path);
  if (format == nullptr) return stop("Unsupported calibration type", "No support");
  // Up to here the map that was open can still be written; now it is gone.
  calibration.clear();
  dropUnfinished();
  driver.inputPath = path;
  splitInputPath(path);
  driver.inputIsWindows1252 = format->isText && isWindows1252;
  driver.transformValid = driver.calibrationPending = false;
  driver.inputFormat = format;
  if (driver.stage == openCalibration) beginMapOnPanel(path);
  const ReadResult result = format->read(driver.inputPath);
  if (result.stopped) return false;
  if (result.datumIndex == 0) {
    const std::string alike = datumsLike(inputDatumName);
    if (!alike.empty()) showMessage("Datums of a like name: " + alike + ". Say in the file, or match, which is meant");
    return stop("unable to match input datum " + inputDatumName);
  }

  writeLog("Ipath " + calibration.imagePath);
  if (!format->settlesImage) {
    std::vector<std::string> others = result.otherImages;
    others.push_back(driver.inputFolder + driver.inputBase + ".png");
    formatTable().identifyImage(calibration.imagePath, calibration.imageWidth, calibration.imageHeight, others);
  }
  if (result.placePixels != nullptr) result.placePixels();
  closePointGaps();
  dropIncompleteCorners();
  const std::string datum(trim(datumTable.name[static_cast<std::size_t>(result.datumIndex)]));
  const auto give = [&datum](int first, int count) {
    for (int slot = first; slot < first + count; ++slot) {
      std::string& name = calibration.points[slot].datumName;
      if (name.empty()) name = datum;
    }
  };
  give(1, calibration.pointCount);
  give(firstCornerSlot, calibration.cornerCount);
  return true;
}

/// Tells of positions whose datum the table does not describe well; then brings them to WGS 84.
bool convertSlots(int first, int count) {
  for (int slot = first; slot < first + count; ++slot) {
    const std::string& name = calibration.points[slot].datumName;
    const int index = name == wgs84Name ? 0 : datumIndexOf(name);
    if (index != 0) reportDoubtfulDatum(index);
  }
  const std::string problem = convertToWgs84(calibration, first, count, runJournal());
  return problem.empty() || stop(problem);
}

bool stopForPoints() {
  if (calibration.pointCount == 0 && calibration.cornerCount > 0) {
    showMessage("The file holds corners of the map, but no tie points: view the map and place them");
  }
  return stop(calibration.imageWidth == 0 ? noImage : "Insufficient points to proceed");
}

void reportFit() {
  calibration.averageError = averageErrorOf(calibration);
  showMessage("Average error per calibration point=" +
              formatNumber(static_cast<double>(calibration.averageError), "####.0000"));
  const Residuals residuals = residualsOf(calibration);
  showMessage("All points: root mean square " + formatNumber(residuals.rootMeanSquare, "###0.00") +
              " pixels, worst is point " + std::to_string(calibration.numberOf(residuals.worst)) + " with " +
              formatNumber(residuals.ofWorst(), "###0.00"));
}

bool convertAndFit() {
  Calibration& c = calibration;
  driver.transformValid = false;
  showMessage("Input datum is " + inputDatumName);
  if (!convertSlots(1, c.pointCount) || !convertSlots(firstCornerSlot, c.cornerCount)) return false;
  showMessage("Projection " + c.projection);

  const std::optional<ReferencePair> pair = fitMap(c, driver.fixedPair(), preferences.stretchNotRotate, runJournal());
  if (!pair) return stopForPoints();
  driver.referencePair = *pair;
  driver.metresPerPixel = metresPerPixel(c, *pair);
  driver.worldFile = worldFileTerms(c, *pair, preferences.stretchNotRotate);
  if (!c.isMercator() || c.imageHeight != 0) reportFit();
  if (c.imageWidth == 0 || c.imageHeight == 0) return stop(noImage);
  if (c.tf1 * c.tf4 - c.tf2 * c.tf3 > 0) {
    showMessage("The map comes out mirrored: check the points");
  }
  driver.transformValid = true;
  showPanel();
  return true;
}

/// The clipboard's picture becomes a file before the calibrations can name it.
bool saveClipboardImage() {
  if (calibration.imagePath != clipboardImage) return true;
  const std::string path = putpfile();
  if (path.empty()) return false;
  if (fileExists(path)) {
    const MessageBox box{"OK to overwrite " + path + " ?", "Vellandra", Buttons::okCancel, Icon::question};
    if (userInterface().messageBox(box) != Answer::ok) return false;
  }
  if (!formatTable().saveClipboardImage(path)) return stop("Unable to save " + path);
  driver.writtenFiles.push_back(path);
  calibration.imagePath = path;
  driver.inputPath = path;
  splitInputPath(path);
  return true;
}

/// Calibrations name an image beside and after themselves: said when the map's image is another one.
void reportImageName() {
  const std::string& path = calibration.imagePath;
  const PathParts image = splitPath(path);
  const auto isSame = [](const std::string& a, const std::string& b) {
    return foldCase(toUtf8(a)) == foldCase(toUtf8(b));
  };
  const bool sameFolder = isSame(image.folder, driver.inputFolder);
  if (sameFolder && isSame(image.base, driver.inputBase)) return;
  const std::string named = driver.inputBase + "." + std::string(extensionAsGiven(path));
  showMessage("The calibrations name the image " + (sameFolder ? named : driver.inputFolder + named) +
              ", the map's image is " + (sameFolder ? std::string(fileName(path)) : path));
}

/// Folder and base name under which `format` is written; nothing when it is the input's own, which is left alone.
std::optional<std::string> outputStem(const FormatRow& format) {
  const std::string stem = driver.inputFolder + driver.inputBase;
  if (&format != driver.inputFormat) return stem;
  const bool datumChanged = inputDatumName != wgs84Name;
  if (format.rewritesInput && datumChanged && preferences.writeWgs84) return stem + "wgs84";
  return std::nullopt;
}

bool runWriters(WriterMoment moment) {
  for (const FormatRow& format : formatTable().rows) {
    if (format.write == nullptr || format.moment != moment) continue;
    const std::optional<std::string> stem = outputStem(format);
    if (!stem) continue;
    if (format.write(*stem) == WriteOutcome::failed) return false;
  }
  return true;
}

void logPoints() {
  const Calibration& c = calibration;
  for (int i = 1; i <= c.pointCount; ++i) {
    writeLog(formatNumber(c.points[i].latitude, "##0.000000") + " " +
             formatNumber(c.points[i].longitude, "##0.000000") + " " + formatNumber(c.points[i].pixelX, "####0") + " " +
             formatNumber(c.points[i].pixelY, "####0"));
  }
}

void showFiles(const std::string& what, const std::vector<std::string>& paths) {
  std::string names;
  for (const std::string& path : paths) names += (names.empty() ? "" : ", ") + std::string(fileName(path));
  if (!names.empty()) showMessage(what + names);
}

/// Points that are made up for some writers go with its end, however the writing ends.
class MadeUpPoints {
 public:
  MadeUpPoints() = default;
  MadeUpPoints(const MadeUpPoints&) = delete;
  MadeUpPoints& operator=(const MadeUpPoints&) = delete;
  ~MadeUpPoints() {
    calibration.points = before_;
    calibration.pointCount = pointCount_;
    calibration.cornerCount = cornerCount_;
  }

 private:
  const Slots<CalibrationPoint> before_ = calibration.points;
  const std::int16_t pointCount_ = calibration.pointCount, cornerCount_ = calibration.cornerCount;
};

bool writeOutputs() {
  driver.writtenFiles.clear();
  driver.keptFiles.clear();
  if (!driver.transformValid) return stop(driver.whyNotValid);
  // Files of which some are new and some are not yet are no calibration that is written.
  const bool pending = std::exchange(driver.calibrationPending, true);
  if (!saveClipboardImage()) return false;
  const MadeUpPoints madeUp;
  driver.worldFile = worldFileTerms(calibration, driver.referencePair, preferences.stretchNotRotate);
  reportImageName();
  if (!runWriters(WriterMoment::worldFile)) return false;
  const bool keepsCorners = driver.inputFormat != nullptr && driver.inputFormat->keepsCorners;
  if (!keepsCorners || calibration.cornerCount == 0) fillImageCorners(calibration);
  addPointOffTheLine(calibration);
  interpolateThirdPoint(calibration);
  if (!runWriters(WriterMoment::threePoints)) return false;
  addFourthPoint(calibration);
  showMessage("Output datum is WGS84");
  logPoints();
  if (!runWriters(WriterMoment::fourPoints)) return false;
  showPanel();
  if (!runWriters(WriterMoment::last)) return false;
  driver.calibrationPending = pending && driver.writtenFiles.empty();
  showFiles("Written: ", driver.writtenFiles);
  showFiles("Kept as they were: ", driver.keptFiles);
  showMessage("done");
  return true;
}

/// Every stage up to the fit.
bool calculate() {
  driver.whyNotValid = "The calibration was not read to its end: see the messages";  // of an error that ends the run
  const bool reads = driver.stage == openCalibration || driver.stage == batch;
  if (reads && !readCalibration()) return false;
  if (reads || driver.stage == afterImage) {
    showMessage("Image wide " + std::to_string(calibration.imageWidth) + " high " +
                std::to_string(calibration.imageHeight));
  }
  if (!convertAndFit()) return false;
  driver.calibrationPending = true;
  return true;
}

}  // namespace

void splitInputPath(const std::string& path) {
  const PathParts parts = splitPath(path);
  driver.inputFolder = parts.folder;
  driver.inputBase = parts.base;
}

void updateMenuStates() {
  const Calibration& c = calibration;
  const bool used = c.pointCount > 0 && !c.points[1].datumName.empty();
  const bool points = c.imageWidth > 0 && (used || !c.offPoints.empty());
  userInterface().setMenuStates({driver.transformValid && c.imageWidth > 0, points});
}

bool do_it() {
  const MenuStatesAtEnd menuStates;
  setFilesInUse([] { return std::vector<std::string>{driver.inputPath, calibration.imagePath}; });
  if (driver.stage != writeCalibrations && !calculate()) {
    if (!driver.transformValid) driver.whyNotValid = lastTold;
    return false;
  }
  return driver.stage == writeCalibrations || driver.stage == batch ? writeOutputs() : true;
}

}  // namespace vellandra

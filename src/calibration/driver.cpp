#include "calibration/driver.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "calibration/calibration.h"
#include "calibration/datum_matching.h"
#include "calibration/log.h"
#include "calibration/messages.h"
#include "calibration/pickers.h"
#include "calibration/points.h"
#include "calibration/transform.h"
#include "geodesy/datum.h"
#include "support/files.h"
#include "support/numbers.h"
#include "support/paths.h"
#include "support/text.h"
#include "support/user_interface.h"

namespace vellandra {

Driver driver;

namespace {

constexpr const char* noSupport = "No support";
constexpr const char* noImage = "Unable to proceed without matching image";
constexpr const char* wgs84 = "WGS 84";
constexpr const char* clipboardImage = "clip.board";

FormatTable formats;

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

bool obtainInputPath() {
  if (driver.stage == batch) {
    const std::string found = findFile(driver.inputPath);
    if (found.empty()) return stop("Missing input file");
    driver.inputPath = found;
    return true;
  }
  std::string chosen = std::exchange(driver.offeredPath, {});
  if (chosen.empty()) chosen = getfile(driver.pickerTitle);
  if (chosen.empty()) return stop("No input file specified", "No input");
  const std::string found = findFile(chosen);
  if (found.empty()) return stop("Missing input file");
  driver.inputPath = found;
  return true;
}

void logInputFile() {
  writeLog(driver.inputPath);
  TextFile file(driver.inputPath);
  driver.inputIsWindows1252 = !isUtf8(file.content());
  constexpr std::size_t most = 4'000'000;  // a log that fills the disk helps nobody
  std::size_t written = 0;
  std::string_view line;
  while (getline(file, line)) {
    if (written > most) {
      writeLog("the rest of the file is not copied");
      break;
    }
    writeLog(line.substr(0, most));
    written += line.size() + 1;
  }
}

const ReaderRow* readerFor(const std::string& extension) {
  for (const ReaderRow& row : formats.readers) {
    if (extension == row.extension) return &row;
  }
  return nullptr;
}

/// Image corners that a ".cal" of edges or corners leaves open.
void placeCornerPixels() {
  Calibration& c = calibration;
  c.pixelX[2] = c.pixelX[4] = c.imageWidth;
  c.pixelY[3] = c.pixelY[4] = c.imageHeight;
}

bool readCalibration() {
  LoadDatums();
  if (datumTable.count == 0) return stop("Unable to load datums.txt", "No datums");
  showPanel();
  calibration.imagePath.clear();
  if (!obtainInputPath()) return false;
  logInputFile();
  splitInputPath(driver.inputPath);

  driver.inputType.clear();
  calibration.projection.clear();
  const ReaderRow* reader = readerFor(driver.inputExtension);
  if (reader == nullptr) return stop("Unsupported calibration type", noSupport);
  // From here on the map that was open is gone.
  calibration.clear();
  driver.transformValid = driver.calibrationPending = false;
  driver.inputType = reader->type;
  const ReadResult result = reader->read(driver.inputPath);
  if (result.stopped) return false;
  if (result.calVariant == 0) return stop("Unsupported CAL format", noSupport);
  if (result.datumIndex == 0) return stop("unable to match input datum " + inputDatumName);

  writeLog("Ipath " + calibration.imagePath);
  if (driver.inputType != "tfw") {
    formats.identifyImage(calibration.imagePath, calibration.imageWidth, calibration.imageHeight);
  }
  if (result.calVariant == 2 || result.calVariant == 3) placeCornerPixels();
  closePointGaps();
  dropIncompleteCorners();
  const std::string datum(trim(datumTable.name[static_cast<std::size_t>(result.datumIndex)]));
  const auto give = [&datum](int first, int count) {
    for (int slot = first; slot < first + count; ++slot) calibration.datumName[slot] = datum;
  };
  give(1, calibration.pointCount);
  give(firstCornerSlot, calibration.cornerCount);
  return true;
}

bool isOnEarth(double lat, double lon) {
  return std::abs(lat) <= 90 && std::abs(lon) <= 360;
}

/// Brings the positions of `count` slots from `first` on to WGS 84; those that are there already stay as they are.
bool convertSlots(int first, int count) {
  Calibration& c = calibration;
  for (int slot = first; slot < first + count; ++slot) {
    const double lat = c.latitude[slot];
    const double lon = c.longitude[slot];
    if (!isOnEarth(lat, lon)) {
      const bool corner = slot >= firstCornerSlot && first == firstCornerSlot;
      return stop((corner ? "Corner " : "Point ") + std::to_string(corner ? slot - first + 1 : slot) +
                  " is not on the earth: latitude " + formatGeneral(lat) + ", longitude " + formatGeneral(lon));
    }
    const std::string name = c.datumName[slot];
    if (name == wgs84) continue;
    const int index = datumIndexOf(name);
    if (index == 0) return stop("unable to match input datum " + name);
    reportDoubtfulDatum(index);
    shiftToWgs84(index, c.latitude[slot], c.longitude[slot]);
    c.datumName[slot] = wgs84;
    const auto degrees = [](double value) { return formatNumber(value, "##0.000000"); };
    const auto pixels = [](double value) { return formatNumber(value, "####0"); };
    writeLog(degrees(lat) + " " + degrees(lon) + " >> " + degrees(c.latitude[slot]) + " " + degrees(c.longitude[slot]) +
             (name == "ORD SRVY GRT BRITN" ? " (OS) " : " ") + pixels(c.pixelX[slot]) + " " + pixels(c.pixelY[slot]));
  }
  return true;
}

void unwrapSlots(int first, int count) {
  for (int slot = first; slot < first + count; ++slot) {
    if (calibration.longitude[slot] < 0) calibration.longitude[slot] += 360;
  }
}

/// A map astride 180 degrees has its eastern points on negative longitudes: they go on past 180.
void unwrapLongitudes() {
  Calibration& c = calibration;
  double low = 360, high = -360, sumX = 0, sumLon = 0, sumProduct = 0, shiftedLow = 720, shiftedHigh = -720;
  for (int i = 1; i <= c.pointCount; ++i) {
    const double lon = c.longitude[i];
    const double shifted = lon < 0 ? lon + 360 : lon;
    low = std::min(low, lon), high = std::max(high, lon);
    shiftedLow = std::min(shiftedLow, shifted), shiftedHigh = std::max(shiftedHigh, shifted);
    sumX += c.pixelX[i], sumLon += lon, sumProduct += lon * c.pixelX[i];
  }
  const bool westward = sumProduct * c.pointCount < sumX * sumLon;
  if (!westward || high - low <= 180 || shiftedHigh - shiftedLow >= 180) return;
  unwrapSlots(1, c.pointCount);
  unwrapSlots(firstCornerSlot, c.cornerCount);
  showMessage("The map lies across 180 degrees: longitudes go on past 180");
}

bool stopForPoints() {
  return stop(calibration.imageWidth == 0 ? noImage : "Insufficient points to proceed");
}

bool convertAndFit() {
  Calibration& c = calibration;
  driver.transformValid = false;
  showMessage("Input datum is " + inputDatumName);
  if (!convertSlots(1, c.pointCount) || !convertSlots(firstCornerSlot, c.cornerCount)) return false;
  showMessage("Projection " + c.projection);

  unwrapLongitudes();
  const std::optional<ReferencePair> pair = chooseReferencePair(driver.inputType);
  if (!pair) return stopForPoints();
  driver.referencePair = *pair;
  fitTransform();
  if (c.isMercator() || c.fitFailed) deriveTransform(*pair);
  driver.metresPerPixel = metresPerPixel(*pair);
  setMercatorOrdinates();
  if (!isReversible(c)) return stopForPoints();
  driver.worldFile = worldFileTerms(*pair);
  if (!c.isMercator() || c.imageHeight != 0) reportFit();
  if (c.imageWidth == 0 || c.imageHeight == 0) return stop(noImage);
  if (!c.isMercator() && c.tf1 * c.tf4 - c.tf2 * c.tf3 > 0) {
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
  if (!formats.saveClipboardImage(path)) return stop("Unable to save " + path);
  driver.writtenFiles.push_back(path);
  calibration.imagePath = path;
  splitInputPath(path);
  return true;
}

/// Calibrations name the image after themselves: said when the image has another name.
void reportImageName() {
  const PathParts image = splitPath(calibration.imagePath);
  if (foldCase(toUtf8(image.base)) == foldCase(toUtf8(driver.inputBase))) return;
  showMessage("The calibrations name the image " + driver.inputBase + "." + image.extension + ", the map's image is " +
              std::string(fileName(calibration.imagePath)));
}

bool runWriters(WriterMoment moment) {
  for (const WriterRow& row : formats.writers) {
    if (row.moment != moment || (*row.notForType != '\0' && driver.inputType == row.notForType)) continue;
    const WriteOutcome outcome = row.write();
    if (outcome == WriteOutcome::failed) return false;
    if (outcome == WriteOutcome::written) driver.calibrationPending = false;
  }
  return true;
}

void logPoints() {
  const Calibration& c = calibration;
  for (int i = 1; i <= c.pointCount; ++i) {
    writeLog(formatNumber(c.latitude[i], "##0.000000") + " " + formatNumber(c.longitude[i], "##0.000000") + " " +
             formatNumber(c.pixelX[i], "####0") + " " + formatNumber(c.pixelY[i], "####0"));
  }
}

void showFiles(const std::string& what, const std::vector<std::string>& paths) {
  std::string names;
  for (const std::string& path : paths) names += (names.empty() ? "" : ", ") + std::string(fileName(path));
  if (!names.empty()) showMessage(what + names);
}

bool writeOutputs() {
  driver.writtenFiles.clear();
  driver.keptFiles.clear();
  if (!driver.transformValid) return stop("Insufficient points to proceed");
  if (!saveClipboardImage()) return false;
  reportImageName();
  if (!runWriters(WriterMoment::worldFile)) return false;
  const bool cornersHeld = (driver.inputType == "tfw" || driver.inputType == "map") && calibration.cornerCount > 0;
  if (!cornersHeld) fillImageCorners();
  interpolateThirdPoint();
  if (!runWriters(WriterMoment::threePoints)) return false;
  addFourthPoint();
  showMessage("Output datum is WGS84");
  logPoints();
  if (!runWriters(WriterMoment::fourPoints)) return false;
  showPanel();
  if (!runWriters(WriterMoment::last)) return false;
  showFiles("Written: ", driver.writtenFiles);
  showFiles("Kept as they were: ", driver.keptFiles);
  showMessage("done");
  return true;
}

}  // namespace

void setFormatTable(const FormatTable& table) {
  formats = table;
}

void splitInputPath(const std::string& path) {
  const PathParts parts = splitPath(path);
  driver.inputFolder = parts.folder;
  driver.inputBase = parts.base;
  driver.inputExtension = parts.extension;
}

void updateMenuStates() {
  userInterface().setMenuStates({driver.transformValid && calibration.imageWidth > 0});
}

bool do_it() {
  const MenuStatesAtEnd menuStates;
  const bool reads = driver.stage == openCalibration || driver.stage == batch;
  if (reads && !readCalibration()) return false;
  if (reads || driver.stage == afterImage) {
    showMessage("Image wide " + std::to_string(calibration.imageWidth) + " high " +
                std::to_string(calibration.imageHeight));
  }
  if (driver.stage != writeCalibrations) {
    if (!convertAndFit()) return false;
    driver.calibrationPending = true;
  }
  return driver.stage == writeCalibrations || driver.stage == batch ? writeOutputs() : true;
}

}  // namespace vellandra

#include "calibration/unfinished.h"

#include <cstdio>
#include <memory>
#include <vector>

#include "calibration/driver.h"
#include "calibration/format_row.h"
#include "calibration/messages.h"
#include "calibration/points.h"
#include "support/errors.h"
#include "support/files.h"
#include "support/numbers.h"
#include "support/paths.h"
#include "support/text.h"

namespace vellandra {
namespace {

constexpr const char* header = "'Points of a calibration that is not finished. The program offers to go on with it.";
constexpr const char* endMark = "end";

/// The file of this process.
struct Kept {
  explicit Kept(const std::string& stem) : file(stem + ".txt"), picture(stem + ".png") {}
  HeldFile file;
  std::string picture;
  std::string content;  ///< of the file, as it was written last
};
std::unique_ptr<Kept> kept;
bool failureTold = false;

std::string stemOf(int number) {
  return settingsFolder() + "unfinished-" + std::to_string(number);
}

std::string pointLine(const EnteredPoint& entered) {
  const CalibrationPoint& point = entered.point;
  const PointGrid& grid = point.grid;
  return std::string("point=") + (entered.off ? "off" : "on") + "\t" + std::to_string(point.pixelX) + "\t" +
         std::to_string(point.pixelY) + "\t" + exactNumber(point.latitude) + "\t" + exactNumber(point.longitude) +
         "\t" + point.datumName + "\t" + std::to_string(static_cast<int>(grid.grid)) + "\t" + grid.datum + "\t" +
         std::to_string(grid.zone) + (grid.southern ? "\tS" : "\tN") + "\n";
}

EnteredPoint pointIn(std::string_view value) {
  const std::vector<std::string_view> fields = splitFields(value, "\t");
  EnteredPoint entered;
  entered.off = field(fields, 0) == "off";
  entered.point.setPixel(parseInt32(field(fields, 1)), parseInt32(field(fields, 2)));
  const int kind = parseInt16(field(fields, 6));
  const PointGrid grid{kind > 0 && kind <= static_cast<int>(EntryGrid::utm) ? EntryGrid(kind) : EntryGrid::degrees,
                       std::string(field(fields, 7)), parseInt16(field(fields, 8)), field(fields, 9) == "S"};
  entered.point.setPosition(parseNumber(field(fields, 3)), parseNumber(field(fields, 4)), grid);
  entered.point.datumName = field(fields, 5);
  return entered;
}

std::string contentOf(const Calibration& map) {
  std::string content = std::string(header) + "\ninput=" + driver.inputPath +
                        "\nwindows1252=" + (driver.inputIsWindows1252 ? "1" : "0") + "\nimage=" + map.imagePath +
                        "\nwidth=" + std::to_string(map.imageWidth) + "\nheight=" + std::to_string(map.imageHeight) +
                        "\nprojection=" + map.projection + "\n";
  for (const EnteredPoint& point : enteredPoints(map)) content += pointLine(point);
  return content + endMark + "\n";
}

/// Nothing for a file that is not as `contentOf` writes it.
std::optional<UnfinishedCalibration> read(const std::string& path) {
  UnfinishedCalibration work;
  std::vector<EnteredPoint> points;
  bool whole = false;
  try {
    TextFile file(path);
    std::string_view line;
    while (getline(file, line)) {
      const std::size_t equals = line.find('=');
      const std::string_view key = line.substr(0, equals);
      const std::string_view value = equals == std::string_view::npos ? "" : line.substr(equals + 1);
      if (key == "input") work.inputPath = value;
      if (key == "windows1252") work.inputIsWindows1252 = value == "1";
      if (key == "image") work.map.imagePath = value;
      if (key == "width") work.map.imageWidth = parseInt16(value);
      if (key == "height") work.map.imageHeight = parseInt16(value);
      if (key == "projection") work.map.projection = value;
      if (key == "point") points.push_back(pointIn(value));
      whole = key == endMark;
    }
    if (points.size() <= static_cast<std::size_t>(maxSlot)) setEnteredPoints(work.map, points);
  } catch (const RunTimeError&) {
    return std::nullopt;
  }
  return whole && !work.map.imagePath.empty() ? std::optional(work) : std::nullopt;
}

/// False when the points cannot be written.
bool write(const Calibration& map) {
  const std::string content = contentOf(map);
  if (!kept) {
    int number = 1;
    while (fileExists(stemOf(number) + ".txt")) ++number;
    kept = std::make_unique<Kept>(stemOf(number));
    const auto savePicture = formatTable().saveClipboardImage;
    if (map.imagePath == clipboardImage && savePicture != nullptr) savePicture(kept->picture);
  }
  if (content == kept->content) return true;
  kept->content = content;
  return kept->file.write(content);
}

}  // namespace

void keepUnfinished(const Calibration& map) {
  if (map.pointCount == 0 && map.offPoints.empty()) {
    dropUnfinished();
    return;
  }
  if (write(map) || failureTold) return;
  failureTold = true;
  showMessage("The points are not kept against a crash: unable to write " + kept->file.path());
}

bool isUnfinishedKept() {
  return kept != nullptr;
}

void dropUnfinished() {
  if (!kept) return;
  kept->file.remove();
  (void)std::remove(kept->picture.c_str());
  kept.reset();
}

void leaveUnfinished() {
  kept.reset();
}

std::optional<UnfinishedCalibration> takeUnfinished(int& number) {
  for (;;) {
    const std::string stem = stemOf(++number);
    if (!fileExists(stem + ".txt")) return std::nullopt;
    auto found = std::make_unique<Kept>(stem);
    if (!found->file.takeOver()) continue;
    if (auto work = read(found->file.path())) {
      kept = std::move(found);
      return work;
    }
  }
}

std::string unfinishedPicture() {
  return kept ? kept->picture : std::string();
}

}  // namespace vellandra

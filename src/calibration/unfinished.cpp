#include "calibration/unfinished.h"

#include <sys/stat.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <utility>
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

/// A file that belongs to this process.
struct KeptFile {
  explicit KeptFile(const std::string& stem) : file(stem + ".txt"), picture(stem + ".png") {}
  HeldFile file;
  std::string picture;
  std::string content;  ///< of the file; empty while no point is kept
};

namespace {

constexpr const char* header = "'Points of a calibration that is not finished. The program offers to go on with it.";
constexpr const char* endMark = "end";

std::unique_ptr<KeptFile> kept;  ///< of the open map
bool failureTold = false;

constexpr std::string_view stemName = "unfinished-";

std::string stemOf(int number) {
  return settingsFolder() + std::string(stemName) + std::to_string(number);
}

/// The least number above `number` of which there is a file; nothing when there is none.
std::optional<int> numberAfter(int number) {
  std::optional<int> next;
  std::error_code error;
  for (std::filesystem::directory_iterator file(settingsFolder(), error), end; !error && file != end;
       file.increment(error)) {
    const std::string name = file->path().filename().string();
    if (!name.starts_with(stemName)) continue;
    int found = 0;
    const char* const last = name.data() + name.size();
    const auto [rest, problem] = std::from_chars(name.data() + stemName.size(), last, found);
    if (problem != std::errc() || std::string_view(rest, last) != ".txt" || found <= number) continue;
    next = std::min(next.value_or(found), found);
  }
  return next;
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
std::optional<UnfinishedCalibration> read(KeptFile& found) {
  UnfinishedCalibration work;
  std::vector<EnteredPoint> points;
  bool whole = false;
  try {
    TextFile file(found.file.path());
    found.content = file.content();
    struct stat status {};
    if (::stat(found.file.path().c_str(), &status) == 0) work.keptAt = status.st_mtime;
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

/// Takes a file for this process, unless it has one. False when none can be made.
bool reserve() {
  for (int number = 1; !kept; ++number) {
    auto made = std::make_unique<KeptFile>(stemOf(number));
    if (made->file.create()) {
      kept = std::move(made);
    } else if (!fileExists(made->file.path())) {
      return false;
    }
  }
  return true;
}

/// False when the points cannot be written.
bool write(const std::string& content) {
  if (!reserve()) return false;
  if (content == kept->content) return true;
  if (!kept->file.write(content)) return false;
  kept->content = content;
  return true;
}

void tellNotKept(const std::string& why) {
  showMessage("The points are not kept against a crash: " + why);
}

}  // namespace

void keepUnfinishedPicture() {
  const auto save = formatTable().saveClipboardImage;
  if (calibration.imagePath != clipboardImage || save == nullptr || kept) return;
  bool saved = false;
  try {
    saved = reserve() && save(kept->picture);
  } catch (const std::exception&) {
  }
  if (saved) return;
  dropUnfinished();
  tellNotKept("the clipboard's picture is not saved");
}

void keepUnfinished(const Calibration& map) {
  const bool none = map.pointCount == 0 && map.offPoints.empty();
  if (map.imagePath == clipboardImage) {
    if (!kept) return;
  } else if (none) {
    dropUnfinished();
    return;
  }
  if (write(none ? "" : contentOf(map)) || failureTold) return;
  failureTold = true;
  tellNotKept("unable to write in " + settingsFolder());
}

bool isUnfinishedKept() {
  return kept && !kept->content.empty();
}

void dropUnfinished() {
  if (!kept) return;
  kept->file.remove();
  (void)std::remove(kept->picture.c_str());
  kept.reset();
}

void leaveUnfinished() {
  if (!isUnfinishedKept()) dropUnfinished();
  kept.reset();
}

std::optional<UnfinishedCalibration> takeUnfinished(int& number) {
  while (const std::optional<int> next = numberAfter(number)) {
    number = *next;
    auto found = std::make_unique<KeptFile>(stemOf(number));
    if (!found->file.takeOver()) continue;
    auto work = read(*found);
    std::error_code error;
    const bool noPoints = std::filesystem::file_size(found->file.path(), error) == 0;  // ended before the first
    if (work || noPoints) kept = std::move(found);
    if (work) return work;
    if (noPoints) dropUnfinished();
  }
  return std::nullopt;
}

std::string unfinishedPicture() {
  return kept ? kept->picture : std::string();
}

UnfinishedAside::UnfinishedAside() : aside_(std::move(kept)) {}

UnfinishedAside::~UnfinishedAside() {
  if (!putBack_) return;
  leaveUnfinished();
  kept = std::move(aside_);
}

void UnfinishedAside::drop() {
  putBack_ = false;
  std::swap(kept, aside_);
  dropUnfinished();
  kept = std::move(aside_);
}

}  // namespace vellandra

#include "imaging/tile_files.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

#include "calibration/calibration.h"
#include "calibration/driver.h"
#include "calibration/log.h"
#include "calibration/messages.h"
#include "imaging/map_image.h"
#include "raster/library_messages.h"
#include "support/files.h"
#include "support/paths.h"
#include "support/user_interface.h"

namespace vellandra {
namespace {

namespace fs = std::filesystem;

/// The name without ending of a tile of this map that `file` may be. Numbers are written in one way only.
std::string tileNameLike(const TileFiles& files, std::string_view file) {
  Tile tile{};
  const char* const end = file.data() + file.size();
  const auto left = std::from_chars(file.data() + std::min(file.size(), files.base.size() + 1), end, tile.left);
  if (left.ec != std::errc() || left.ptr == end) return "";
  const bool isTile = std::from_chars(left.ptr + 1, end, tile.top).ec == std::errc() && tile.left >= 0 && tile.top >= 0;
  return isTile ? files.tileName(tile) : "";
}

}  // namespace

std::string TileFiles::tileName(const Tile& tile) const {
  return base + "_" + std::to_string(tile.left) + "_" + std::to_string(tile.top);
}

std::optional<TileFiles> tileFilesOfOpenMap() {
  if (!driver.transformValid) {
    stopTiles("Insufficient points to proceed");
    return std::nullopt;
  }
  if (calibration.imagePath == clipboardImage) {
    showMessage("The picture from the clipboard is in no file yet; writing the calibrations saves it");
    stopTiles("Unable to load map");
    return std::nullopt;
  }
  const PathParts parts = splitPath(calibration.imagePath);
  if (parts.base.empty()) {
    stopTiles("Unable to load map");
    return std::nullopt;
  }
  return TileFiles{parts.folder, parts.base};
}

Bitmap loadMapForTiles() {
  Bitmap map = LoadQuantized(calibration.imagePath);
  if (const std::string problem = sizeProblem(map); map && !problem.empty()) {
    showMessage(problem);
    map.reset();
  }
  if (!map) stopTiles("Unable to load map");
  return map;
}

bool makeTileFolder(const std::string& path) {
  return makeFolder(path) || stopTiles("unable to write " + path);
}

std::ptrdiff_t removeEarlierTiles(const TileFiles& files, const std::string& folder, const std::string& ending,
                                  const std::set<std::string>& written) {
  std::vector<fs::path> earlier;
  std::error_code error;
  for (fs::directory_iterator entries(folder, error), end; !error && entries != end; entries.increment(error)) {
    const std::string name = entries->path().filename().string();
    const bool isFile = entries->symlink_status(error).type() == fs::file_type::regular;
    if (isFile && name == tileNameLike(files, name) + ending && !written.contains(name)) earlier.push_back(*entries);
  }
  return std::ranges::count_if(earlier, [&](const fs::path& path) { return fs::remove(path, error); });
}

void noteRemovedTiles(std::ptrdiff_t removed, const std::string& folder) {
  if (removed > 0) showMessage(std::to_string(removed) + " tiles of an earlier run removed from " + folder);
}

bool stopTiles(const std::string& text) {
  writeLog(text);
  tell(text);
  return false;
}

bool EncodedTile::save() const {
  logMessages(image, path);
  return !image.bytes.empty() && putInPlace();
}

namespace {

// Besides those that work: a disk takes its time with every file, and can take several at once.
constexpr unsigned waitingForDisk = 8;
constexpr std::int64_t aMoment = 1'000'000;  // pixels that are encoded before a person could notice

}  // namespace

TileEncoder::TileEncoder(const Bitmap& map, const TileGrid& grid, std::function<bool(std::int64_t)> isWanted,
                         std::function<std::string(const Tile&)> path, ImageFormat format, int flags)
    : map_(map),
      grid_(grid),
      isWanted_(std::move(isWanted)),
      path_(std::move(path)),
      format_(format),
      flags_(flags),
      workers_(coreCount() + waitingForDisk) {}

void TileEncoder::workAhead() {
  // More than there are threads, so that none waits while the first tile in order is a slow one.
  const std::size_t most = std::size_t{2} * coreCount() + waitingForDisk;
  while (ahead_.size() < most && number_ < grid_.count()) {
    if (!isWanted_(++number_)) continue;
    ahead_.push_back(workers_.run([this, number = number_, tile = grid_.tile(number_)] {
      EncodedTile encoded{number, tile, false, {}, path_(tile), {}};
      const LibraryMessages messages(encoded.image.messages);
      const auto part = std::make_shared<Bitmap>(copyRectangle(map_, tile.left, tile.top, tile.right, tile.bottom));
      encoded.copied = static_cast<bool>(*part);
      const auto encode = [part, format = format_, flags = flags_] { return encodeImage(format, *part, flags); };
      const bool takesLong = std::int64_t{part->width()} * part->height() > aMoment;
      if (encoded.copied) encoded.image = takesLong ? leavable(encode) : encode();
      if (!encoded.image.bytes.empty()) encoded.putInPlace = prepareWholeFile(encoded.path, encoded.image.bytes);
      return encoded;
    }));
  }
}

std::optional<EncodedTile> TileEncoder::next() {
  endIfCancelled();
  workAhead();
  if (ahead_.empty()) return std::nullopt;
  EncodedTile tile = ahead_.front().get();
  ahead_.pop_front();
  if (!tile.copied) logMessages(tile.image, tile.path);
  return tile;
}

std::string writeInWork(const std::function<std::string()>& write, const std::function<void()>& finish) {
  return runWork("Writing tiles", [&] {
    std::string failure = write();
    settleWork();
    const std::string unplaced = FileChanges::putHeldInPlace();
    if (failure.empty() && !unplaced.empty()) failure = "unable to save " + unplaced;
    if (failure.empty()) finish();
    return failure;
  });
}

ColumnProgress::~ColumnProgress() {
  showProgress(across_, across_);
}

void ColumnProgress::atTile(std::int64_t number) {
  const int column = static_cast<int>((number - 1) / down_);
  if (column == column_) return;
  column_ = column;
  showProgress(column, across_);
}

}  // namespace vellandra

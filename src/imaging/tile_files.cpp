#include "imaging/tile_files.h"

#include "calibration/calibration.h"
#include "calibration/driver.h"
#include "calibration/log.h"
#include "calibration/messages.h"
#include "imaging/map_image.h"
#include "support/files.h"
#include "support/paths.h"
#include "support/user_interface.h"

namespace vellandra {

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
      const Bitmap part = copyRectangle(map_, tile.left, tile.top, tile.right, tile.bottom);
      encoded.copied = static_cast<bool>(part);
      encoded.image = encodeImage(format_, part, flags_);
      if (!encoded.image.bytes.empty()) encoded.putInPlace = prepareWholeFile(encoded.path, encoded.image.bytes);
      return encoded;
    }));
  }
}

std::optional<EncodedTile> TileEncoder::next() {
  workAhead();
  if (ahead_.empty()) return std::nullopt;
  EncodedTile tile = ahead_.front().get();
  ahead_.pop_front();
  return tile;
}

ColumnProgress::~ColumnProgress() {
  userInterface().showProgress(across_, across_);
}

void ColumnProgress::atTile(std::int64_t number) {
  const int column = static_cast<int>((number - 1) / down_);
  if (column == column_) return;
  column_ = column;
  userInterface().showProgress(column, across_);
}

}  // namespace vellandra

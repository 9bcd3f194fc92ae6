#include "imaging/trekbuddy.h"

#include <optional>
#include <string>

#include "calibration/calibration.h"
#include "calibration/driver.h"
#include "calibration/log.h"
#include "calibration/messages.h"
#include "calibration/open_map.h"
#include "calibration/preferences.h"
#include "formats/map_file.h"
#include "formats/output.h"
#include "imaging/tile_files.h"
#include "support/files.h"

namespace vellandra {
namespace {

/// The program on the device looks for a calibration named as the set is, which is named after the image.
bool writeMap(const TileFiles& files) {
  const OpenMapKeeper openMap;
  splitInputPath(calibration.imagePath);
  return putmap(files.tilesFolder()) == WriteOutcome::written;
}

/// Adds a line to `list` for every tile, whether it could be saved or not. Returns why it stopped; empty at the end.
std::string writeTiles(const Bitmap& map, const TileGrid& grid, const TileFiles& files, const std::string& setFolder,
                       std::string& list) {
  TileEncoder encoder(
      map, grid, [](std::int64_t) { return true; }, ImageFormat::png, 0);
  ColumnProgress progress(grid);
  while (const std::optional<EncodedTile> tile = encoder.next()) {
    progress.atTile(tile->number);
    if (!tile->copied) return "Unable to tile map";
    const std::string name = files.tileName(tile->tile) + ".png";
    const std::string path = std::string(setFolder).append("/").append(name);
    writeLog(path);
    const bool saved = saveEncodedImage(tile->image, path);
    list += line(name);
    if (!saved) return "unable to save " + path;
  }
  return {};
}

}  // namespace

bool WriteTrekBuddyTiles() {
  const std::optional<TileFiles> files = tileFilesOfOpenMap();
  if (!files) return false;
  const TileGrid grid = trekBuddyTileGrid(calibration.imageWidth, calibration.imageHeight,
                                          {preferences.tileWidth, preferences.tileHeight});
  showMessage("Tiles " + std::to_string(grid.across()) + " by " + std::to_string(grid.down()));
  const std::string setFolder = files->tilesFolder() + "/set";
  if (!makeTileFolder(files->tilesFolder()) || !writeMap(*files) || !makeTileFolder(setFolder)) return false;
  showMessage("Writing tiles to " + setFolder);

  Bitmap map = loadMapForTiles();
  if (!map) return false;
  std::string list;
  const std::string failure = writeTiles(map, grid, *files, setFolder, list);
  map.reset();
  const std::string listPath = files->tilesFolder() + "/" + files->base + ".set";
  const bool listed = writeWholeFile(listPath, list);
  if (!failure.empty()) return stopTiles(failure);
  if (!listed) return stopTiles("unable to write " + listPath);
  showMessage("Tiles and .map file written");
  return true;
}

}  // namespace vellandra

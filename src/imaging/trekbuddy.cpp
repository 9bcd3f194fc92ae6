#include "imaging/trekbuddy.h"

#include <optional>
#include <set>
#include <string>

#include "calibration/calibration.h"
#include "calibration/log.h"
#include "calibration/messages.h"
#include "calibration/preferences.h"
#include "formats/map_file.h"
#include "formats/output.h"
#include "imaging/tile_files.h"
#include "support/files.h"

namespace vellandra {
namespace {

/// The program on the device looks for a calibration named as the set is, which is named after the image.
bool writeMap(const TileFiles& files) {
  return putmap(files.tilesFolder()) == WriteOutcome::written;
}

/// Adds a line to `list` for every tile, whether it could be saved or not, and its name to `names`. Returns why it
/// stopped; empty at the end.
std::string writeTiles(const Bitmap& map, const TileGrid& grid, const TileFiles& files, const std::string& setFolder,
                       GrowingFile& list, std::set<std::string>& names) {
  if (!list) return "unable to write " + list.path();
  const auto pathOf = [&](const Tile& tile) { return setFolder + "/" + files.tileName(tile) + ".png"; };
  TileEncoder encoder(
      map, grid, [](std::int64_t) { return true; }, pathOf, ImageFormat::png, 0);
  ColumnProgress progress(grid);
  while (const std::optional<EncodedTile> tile = encoder.next()) {
    progress.atTile(tile->number);
    if (!tile->copied) return "Unable to tile map";
    const std::string name = files.tileName(tile->tile) + ".png";
    names.insert(name);
    writeLog(tile->path);
    const bool saved = tile->save();
    const bool listed = list.add(line(name));
    if (!saved) return "unable to save " + tile->path;
    if (!listed) return "unable to write " + list.path();
  }
  return list.close() ? std::string() : "unable to write " + list.path();
}

bool writeTileSet() {
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
  // Opened before the first tile, so that a list of an earlier run never stays beside tiles of this one.
  GrowingFile list(files->tilesFolder() + "/" + files->base + ".set");
  std::set<std::string> names;
  std::ptrdiff_t removed = 0;
  const std::string failure = writeInWork([&] { return writeTiles(map, grid, *files, setFolder, list, names); },
                                          [&] { removed = removeEarlierTiles(*files, setFolder, ".png", names); });
  map.reset();
  if (!failure.empty()) return stopTiles(failure);
  noteRemovedTiles(removed, setFolder);
  showMessage("Tiles and .map file written");
  return true;
}

}  // namespace

bool WriteTrekBuddyTiles() {
  return leavingNothingWhenCancelled(writeTileSet);
}

}  // namespace vellandra

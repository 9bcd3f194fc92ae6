#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <future>
#include <optional>
#include <set>
#include <string>

#include "imaging/tile_grid.h"
#include "raster/bitmap.h"
#include "support/file_changes.h"
#include "support/threads.h"
#include "support/user_interface.h"

namespace vellandra {

/// Where the tiles of the open map go: "area_tiles" in the folder of its image "area.png".
struct TileFiles {
  std::string folder;  ///< of the image, up to and including the last separator
  std::string base;    ///< the image's name without extension
  std::string tilesFolder() const { return folder + base + "_tiles"; }
  /// "area_X_Y", with the pixel of the tile's top-left corner.
  std::string tileName(const Tile& tile) const;
};

/// Nothing, with the person told, when the open map is not calibrated or its image is in no file that has a name.
std::optional<TileFiles> tileFilesOfOpenMap();

/// The open map's image, reduced to the colours of tiles. Empty, with the person told, when it cannot be loaded in the
/// size that the calibration is for.
Bitmap loadMapForTiles();

/// Makes the folder, unless it is there. False, with the person told, when that fails.
bool makeTileFolder(const std::string& path);

/// Removes from `folder` what earlier runs have left of this map's tiles: files "area_X_Y" with `ending` that are not
/// among `written`. Returns how many there were.
std::ptrdiff_t removeEarlierTiles(const TileFiles& files, const std::string& folder, const std::string& ending,
                                  const std::set<std::string>& written);
void noteRemovedTiles(std::ptrdiff_t removed, const std::string& folder);

/// Tells the person, and the log, why the command stops; false.
bool stopTiles(const std::string& text);

struct EncodedTile {
  std::int64_t number = 0;
  Tile tile;
  bool copied = false;  ///< out of the map's image
  EncodedImage image;
  std::string path;
  std::function<bool()> putInPlace;

  /// Puts the file in its place; as `saveEncodedImage`.
  bool save() const;
};

/// Cuts the wanted tiles of `grid` out of `map`, encodes them on all cores and brings them to the disk, a few ahead of
/// the one that is asked for. `map` must outlive it, and not be changed meanwhile.
class TileEncoder {
 public:
  /// `path` is where the file of a tile belongs; called from any thread.
  TileEncoder(const Bitmap& map, const TileGrid& grid, std::function<bool(std::int64_t)> isWanted,
              std::function<std::string(const Tile&)> path, ImageFormat format, int flags);
  /// The next tile in the order of numbers; nothing behind the last one.
  std::optional<EncodedTile> next();

 private:
  void workAhead();

  const Bitmap& map_;
  TileGrid grid_;
  std::function<bool(std::int64_t)> isWanted_;
  std::function<std::string(const Tile&)> path_;
  ImageFormat format_;
  int flags_;
  std::int64_t number_ = 0;
  std::deque<std::future<EncodedTile>> ahead_;
  Workers workers_;
};

/// Writes tiles as a piece of work: `write`, which returns why it stopped; then, when it has come to its end and cannot
/// be cancelled any more, all files go to their places, and `finish` is called. Returns why it stopped; empty at the
/// end.
std::string writeInWork(const std::function<std::string()>& write, const std::function<void()>& finish);

/// Shows the column that is worked on, and ends the display with its owner.
class ColumnProgress {
 public:
  explicit ColumnProgress(const TileGrid& grid) : down_(grid.down()), across_(grid.across()) {}
  ColumnProgress(const ColumnProgress&) = delete;
  ColumnProgress& operator=(const ColumnProgress&) = delete;
  ~ColumnProgress();
  void atTile(std::int64_t number);

 private:
  int down_, across_, column_ = -1;
};

}  // namespace vellandra

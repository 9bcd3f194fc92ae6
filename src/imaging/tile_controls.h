#pragma once

#include <cstdint>
#include <string>

#include "raster/pixel_rectangle.h"

namespace vellandra {

/// "Garmin Tile controls" apart from the window that shows them: into how many tiles the map is cut, and which of them
/// are written. Tiles are numbered from 1, column by column, from the top down in a column.
class TileControls {
 public:
  static constexpr int mostTiles = 1000;  ///< of a map; with more, none is written

  virtual ~TileControls() = default;

  /// The counts as asked for; one below 1 becomes 1. Of tiles of a whole size there can be fewer.
  virtual int across() const = 0;
  virtual int down() const = 0;
  virtual void setCounts(int across, int down) = 0;
  void raiseAcross() { setCounts(across() + 1, down()); }
  void lowerAcross() {
    if (across() > 1) setCounts(across() - 1, down());
  }
  void raiseDown() { setCounts(across(), down() + 1); }
  void lowerDown() {
    if (down() > 1) setCounts(across(), down() - 1);
  }

  /// The tile size, and a warning when it is larger in area than the preferred one.
  virtual std::string caption() const = 0;

  /// The tiles as they will be cut.
  virtual int tilesAcross() const = 0;
  virtual int tilesDown() const = 0;
  std::int64_t tileCount() const { return std::int64_t{tilesAcross()} * tilesDown(); }
  /// Throws SubscriptOutOfRange for a number outside 1 to `tileCount()`.
  virtual PixelRectangle tile(std::int64_t number) const = 0;

  /// Whether tile `number` is written; true for a number past `mostTiles`.
  virtual bool isTicked(std::int64_t number) const = 0;
  /// Ticks tile `number` or crosses it out. Does nothing for a number outside 1 to `mostTiles`.
  virtual void toggle(std::int64_t number) = 0;
  /// The tile under (x, y) of the picture, which shows the whole map scaled to `pictureWidth` x `pictureHeight`; 0
  /// beside it.
  virtual std::int64_t tileAt(double x, double y, double pictureWidth, double pictureHeight) const = 0;
  void click(double x, double y, double pictureWidth, double pictureHeight) {
    toggle(tileAt(x, y, pictureWidth, pictureHeight));
  }

  /// OK. Without it nothing is written.
  virtual void confirm() = 0;
};

}  // namespace vellandra

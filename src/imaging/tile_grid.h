#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "imaging/tile_controls.h"

namespace vellandra {

/// Pixels, from 1 up.
struct TileSize {
  std::int32_t width = 0, height = 0;
};

/// A rectangle of the map image in pixels from its top-left corner; `right` and `bottom` are exclusive.
using Tile = PixelRectangle;

/// How an image is cut: tiles of one size from the top-left corner, clipped at the right and the bottom edge. Tiles are
/// numbered from 1 in the order they are written: column by column, from the top down in a column.
class TileGrid {
 public:
  /// Throws InvalidArgument when a side of the image or the tile is below 1.
  TileGrid(std::int32_t imageWidth, std::int32_t imageHeight, TileSize size);

  std::int32_t across() const { return across_; }
  std::int32_t down() const { return down_; }
  std::int64_t count() const { return std::int64_t{across_} * down_; }
  /// Throws SubscriptOutOfRange for a number outside 1 to `count()`.
  Tile tile(std::int64_t number) const;
  /// The number of the tile that holds pixel (x, y); 0 outside the image.
  std::int64_t tileAt(double x, double y) const;

 private:
  std::int32_t imageWidth_, imageHeight_;
  TileSize size_;
  std::int32_t across_, down_;
};

/// Whether the image's area is below one tile's, whatever its shape; a Garmin Custom Map is then one tile, of the
/// image's size.
bool isBelowOneTile(std::int32_t imageWidth, std::int32_t imageHeight, TileSize size);

/// Throws SubscriptOutOfRange for more tiles than a Garmin Custom Map may have.
TileGrid garminTileGrid(std::int32_t imageWidth, std::int32_t imageHeight, TileSize size);

/// TrekBuddy's tile positions are 16-bit numbers: throws Overflow for an image past 32767 pixels.
TileGrid trekBuddyTileGrid(std::int32_t imageWidth, std::int32_t imageHeight, TileSize size);

/// What the person chooses in "Garmin Tile controls", apart from the window that shows it.
class GarminTileControls : public TileControls {
 public:
  /// Starts with every tile ticked. Throws InvalidArgument as `TileGrid` does.
  GarminTileControls(std::int32_t imageWidth, std::int32_t imageHeight, TileSize preferred);

  int across() const override { return across_; }
  int down() const override { return down_; }
  void setCounts(int across, int down) override;
  std::string caption() const override;
  int tilesAcross() const override { return grid().across(); }
  int tilesDown() const override { return grid().down(); }
  Tile tile(std::int64_t number) const override { return grid().tile(number); }
  bool isTicked(std::int64_t number) const override;
  void toggle(std::int64_t number) override;
  std::int64_t tileAt(double x, double y, double pictureWidth, double pictureHeight) const override;
  void confirm() override { confirmed_ = true; }

  TileSize tileSize() const { return size_; }
  TileGrid grid() const { return {imageWidth_, imageHeight_, size_}; }
  bool isConfirmed() const { return confirmed_; }

 private:
  std::int32_t imageWidth_, imageHeight_;
  TileSize preferred_, size_;
  std::int32_t across_, down_;
  std::array<bool, mostTiles> crossed_{};
  bool confirmed_ = false;
};

}  // namespace vellandra

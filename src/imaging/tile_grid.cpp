#include "imaging/tile_grid.h"

#include <algorithm>
#include <limits>

#include "support/errors.h"
#include "support/numbers.h"

namespace vellandra {
namespace {

std::int32_t tilesAlong(std::int32_t imageSide, std::int32_t tileSide) {
  return static_cast<std::int32_t>((std::int64_t{imageSide} + tileSide - 1) / tileSide);
}

std::int32_t tileEnd(std::int32_t begin, std::int32_t tileSide, std::int32_t imageSide) {
  return static_cast<std::int32_t>(std::min(std::int64_t{begin} + tileSide, std::int64_t{imageSide}));
}

std::int64_t area(TileSize size) {
  return std::int64_t{size.width} * size.height;
}

}  // namespace

TileGrid::TileGrid(std::int32_t imageWidth, std::int32_t imageHeight, TileSize size)
    : imageWidth_(imageWidth), imageHeight_(imageHeight), size_(size), across_(0), down_(0) {
  if (imageWidth < 1 || imageHeight < 1) throw InvalidArgument("image of " + sizeText(imageWidth, imageHeight));
  if (size.width < 1 || size.height < 1) throw InvalidArgument("tiles of " + sizeText(size.width, size.height));
  across_ = tilesAlong(imageWidth, size.width);
  down_ = tilesAlong(imageHeight, size.height);
}

Tile TileGrid::tile(std::int64_t number) const {
  if (number < 1 || number > count()) {
    throw SubscriptOutOfRange("tile " + std::to_string(number) + " of " + std::to_string(count()));
  }
  const auto left = static_cast<std::int32_t>((number - 1) / down_ * size_.width);
  const auto top = static_cast<std::int32_t>((number - 1) % down_ * size_.height);
  return {left, top, tileEnd(left, size_.width, imageWidth_), tileEnd(top, size_.height, imageHeight_)};
}

std::int64_t TileGrid::tileAt(double x, double y) const {
  if (!(x >= 0 && x < imageWidth_ && y >= 0 && y < imageHeight_)) return 0;
  const std::int64_t column = static_cast<std::int64_t>(x) / size_.width;
  const std::int64_t row = static_cast<std::int64_t>(y) / size_.height;
  return column * down_ + row + 1;
}

bool isBelowOneTile(std::int32_t imageWidth, std::int32_t imageHeight, TileSize size) {
  return area({imageWidth, imageHeight}) < area(size);
}

TileGrid garminTileGrid(std::int32_t imageWidth, std::int32_t imageHeight, TileSize size) {
  const TileGrid grid(imageWidth, imageHeight, size);
  if (grid.count() > TileControls::mostTiles) {
    throw SubscriptOutOfRange(std::to_string(grid.count()) + " tiles, more than " +
                              std::to_string(TileControls::mostTiles));
  }
  return grid;
}

TileGrid trekBuddyTileGrid(std::int32_t imageWidth, std::int32_t imageHeight, TileSize size) {
  constexpr std::int32_t largest = std::numeric_limits<std::int16_t>::max();
  if (imageWidth > largest || imageHeight > largest) {
    throw Overflow("image is " + sizeText(imageWidth, imageHeight) + ", past " + std::to_string(largest) + " pixels");
  }
  return {imageWidth, imageHeight, size};
}

GarminTileControls::GarminTileControls(std::int32_t imageWidth, std::int32_t imageHeight, TileSize preferred)
    : imageWidth_(imageWidth),
      imageHeight_(imageHeight),
      preferred_(preferred),
      size_(preferred),
      across_(grid().across()),
      down_(grid().down()) {}

std::string GarminTileControls::caption() const {
  const std::string text = "Tiles " + sizeText(size_.width, size_.height);
  return area(size_) > area(preferred_) ? text + "  Tiles too big?? " : text;
}

void GarminTileControls::setCounts(int across, int down) {
  across_ = std::max(across, 1);
  down_ = std::max(down, 1);
  // One pixel less than a tile is added before dividing, so that a remainder does not become one more tile.
  size_ = {roundToInt32((static_cast<double>(imageWidth_) + across_ - 1) / across_),
           roundToInt32((static_cast<double>(imageHeight_) + down_ - 1) / down_)};
}

bool GarminTileControls::isTicked(std::int64_t number) const {
  return number < 1 || number > mostTiles || !crossed_[static_cast<std::size_t>(number - 1)];
}

std::int64_t GarminTileControls::tileAt(double x, double y, double pictureWidth, double pictureHeight) const {
  return grid().tileAt(x * imageWidth_ / pictureWidth, y * imageHeight_ / pictureHeight);
}

void GarminTileControls::toggle(std::int64_t number) {
  if (number < 1 || number > mostTiles) return;
  bool& crossed = crossed_[static_cast<std::size_t>(number - 1)];
  crossed = !crossed;
}

}  // namespace vellandra

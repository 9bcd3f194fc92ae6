#include "imaging/tile_grid.h"

#include <gtest/gtest.h>

#include "support/errors.h"

namespace vellandra {
namespace {

TEST(TileGrid, LimitsOfBothWriters) {
  EXPECT_EQ(garminTileGrid(1000, 1, {1, 1}).count(), 1000);
  EXPECT_THROW(garminTileGrid(1001, 1, {1, 1}), SubscriptOutOfRange);
  EXPECT_EQ(garminTileGrid(2000000000, 1, {2000000000, 2000000000}).tile(1).right, 2000000000);
  EXPECT_EQ(trekBuddyTileGrid(32767, 600, {200, 200}).tile(164 * 3).right, 32767);
  EXPECT_GT(trekBuddyTileGrid(8000, 8000, {200, 200}).count(), 1000);
  EXPECT_THROW(trekBuddyTileGrid(32768, 600, {200, 200}), Overflow);
  EXPECT_THROW(trekBuddyTileGrid(600, 32768, {32767, 32767}), Overflow);
  EXPECT_THROW(TileGrid(0, 100, {5, 5}), InvalidArgument);
  EXPECT_THROW(TileGrid(37, 23, {5, 7}).tile(0), SubscriptOutOfRange);
  EXPECT_THROW(TileGrid(37, 23, {5, 7}).tile(8 * 4 + 1), SubscriptOutOfRange);
  EXPECT_FALSE(isBelowOneTile(1024, 1024, {1024, 1024}));
  EXPECT_FALSE(isBelowOneTile(32767, 32767, {32767, 32766}));
}

TEST(GarminTileControls, CountsSetTheTileSizeAndItsCaption) {
  GarminTileControls controls(3000, 2000, {1024, 1024});
  const auto captionOf = [&controls](int across, int down) {
    controls.setCounts(across, down);
    return controls.caption();
  };
  GarminTileControls narrow(600, 3000, {1024, 1024});
  narrow.lowerAcross();
  EXPECT_EQ(narrow.caption(), "Tiles 1024 x 1024") << "there is one across already";
  EXPECT_EQ(captionOf(4, 2), "Tiles 751 x 1000");                     // (3000 + 3) / 4 = 750.75
  EXPECT_EQ(captionOf(0, 2), "Tiles 3000 x 1000  Tiles too big?? ");  // stays at 1
  EXPECT_EQ(captionOf(2, 0), "Tiles 1500 x 2000  Tiles too big?? ");  // 1500.5, half to even
  EXPECT_EQ(captionOf(2, 5000), "Tiles 1500 x 1");
  EXPECT_EQ(controls.grid().down(), 2000);
}

TEST(GarminTileControls, AClickTogglesTheTileUnderItInWritingOrder) {
  GarminTileControls controls(3000, 2000, {1024, 1024});
  for (const auto& [x, y] : {std::pair(250, 150), {0, 0}, {0, 0}, {300, 10}, {-1, 10}}) controls.click(x, y, 300, 200);
  for (int number = 1; number <= 6; ++number) EXPECT_EQ(controls.isTicked(number), number != 6) << number;
  for (int i = 0; i < 2000; ++i) controls.raiseAcross();
  controls.click(299, 199, 300, 200);  // a tile past 1000
  EXPECT_TRUE(controls.isTicked(controls.grid().count()));
}

}  // namespace
}  // namespace vellandra

#pragma once

#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "core_fixture.h"
#include "imaging/garmin_map.h"
#include "imaging/made_maps.h"
#include "imaging/trekbuddy.h"

namespace vellandra {

/// The command's exit status.
inline int shell(const std::string& command) {
  return WEXITSTATUS(std::system(command.c_str()));
}

/// An open map whose tiles are written.
class TilesTest : public CoreTest {
 protected:
  TilesTest() { setTileSize(1024, 1024); }

  void openMap(const std::string& name, const Bitmap& image, const Calibration& map) const {
    ASSERT_TRUE(SaveImage(ImageFormat::png, image, folder + name));
    openDerivedMap(map, folder + name);
  }
  void openMap(const std::string& name, int width, int height) const {
    openMap(name, allocate24Bits(width, height), linearMap(width, height, 5, 50, 0.0001));
  }
  static void setTileSize(int width, int height) {
    preferences.tileWidth = static_cast<std::int16_t>(width);
    preferences.tileHeight = static_cast<std::int16_t>(height);
  }
  void clearPanel() {
    person.panel.clear();
    calibration.message.clear();
  }

  std::string kml() const { return contentOf(folder + "area_tiles/doc.kml"); }
  Texts placedTiles() const { return between(kml(), "<href>files/", ".jpg<"); }
  std::set<std::string> filesIn(const std::string& path) const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder + path)) names.insert(entry.path().filename());
    return names;
  }
};

}  // namespace vellandra

#pragma once

#include <map>
#include <string>

#include "core_fixture.h"

namespace vellandra {

inline constexpr const char* threePoints =
    "Point01,xy,   10,   10,in, deg,  50,  30.0,N,   3,  15.0,W\r\n"
    "Point02,xy,  390,   10,in, deg,  50,  30.0,N,   2,  45.0,W\r\n"
    "Point03,xy,  390,  290,in, deg,  50,   5.0,N,   2,  45.0,W\r\n";

/// An OziExplorer map of "area.png" with these lines behind the header.
inline std::string mapOn(const std::string& datum, const std::string& lines, const std::string& projection = "Lat") {
  return "OziExplorer Map Data File Version 2.2\r\narea.png\r\nC:\\maps\\area.png\r\n1 ,Map Code,\r\n" + datum +
         ",,   0.0000,   0.0000,WGS 84\r\nReserved 1\r\nReserved 2\r\nMagnetic Variation,,,E\r\nMap Projection," +
         projection + ",PolyCal,No,AutoCalOnly,No,BSBUseWPX,No\r\n" + lines;
}

/// An image "area.png" to calibrate, the datum table loaded, and readers by themselves.
class MapTest : public CoreTest {
 protected:
  MapTest() {
    LoadDatums();
    makeImage("area.png", 400, 300);
    driver.inputFolder = folder;
    driver.inputBase = "area";
  }

  static bool run(Stage stage) {
    driver.stage = stage;
    return runCommand(do_it);
  }

  /// Reads `content` as the file "area" with this extension, without the driver.
  ReadResult read(const std::string& extension, const std::string& content) {
    calibration = Calibration();
    person.boxes.clear();
    writeTestFile(folder + "area." + extension, content);
    return formatOf(folder + "area." + extension)->read(folder + "area." + extension);
  }

  /// Positions are compared to two millimetres.
  static void expectPosition(int slot, double latitude, double longitude) {
    EXPECT_NEAR(calibration.points[slot].latitude, latitude, 2e-8);
    EXPECT_NEAR(calibration.points[slot].longitude, longitude, 2e-8);
  }

  /// Names and contents in the folder, without those of the log and the preferences.
  std::map<std::string, std::string> files() const {
    std::map<std::string, std::string> contents;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      contents[entry.path().filename()] = entry.is_directory() ? "" : contentOf(entry.path());
    }
    contents.erase("vellandra.log");
    contents.erase("calconv.ini");
    return contents;
  }
};

}  // namespace vellandra

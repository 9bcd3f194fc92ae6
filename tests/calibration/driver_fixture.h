#pragma once

#include <map>
#include <string>

#include "core_fixture.h"

namespace vellandra {

inline constexpr const char* threePoints =
    "Point01,xy,   10,   10,in, deg,  50,  30.0,N,   3,  15.0,W\r\n"
    "Point02,xy,  390,   10,in, deg,  50,  30.0,N,   2,  45.0,W\r\n"
    "Point03,xy,  390,  290,in, deg,  50,   5.0,N,   2,  45.0,W\r\n";

inline std::string mapOn(const std::string& datum, const std::string& lines, const std::string& image = "area.png") {
  return "OziExplorer Map Data File Version 2.2\r\n" + image + "\r\nC:\\maps\\area.png\r\n1 ,Map Code,\r\n" + datum +
         ",,   0.0000,   0.0000,WGS 84\r\nReserved 1\r\nReserved 2\r\nMagnetic Variation,,,E\r\n"
         "Map Projection,Latitude/Longitude,PolyCal,No,AutoCalOnly,No,BSBUseWPX,No\r\n" +
         lines;
}
inline const std::string map = mapOn("WGS 84", threePoints);

class DriverTest : public CoreTest {
 protected:
  DriverTest() { makeImage("area.png", 400, 300); }

  bool convertMap(const std::string& content) const { return convert("area.map", content); }
  bool run(Stage stage) {
    driver.stage = stage;
    return runCommand(do_it);
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

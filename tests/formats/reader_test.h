#pragma once

#include <string>

#include "core_fixture.h"

namespace vellandra {

/// Readers by themselves, with the datum table loaded.
class ReaderTest : public CoreTest {
 protected:
  ReaderTest() {
    LoadDatums();
    driver.inputFolder = folder;
    driver.inputBase = "area";
  }

  /// Reads `content` as the file "area" with this extension.
  ReadResult read(const std::string& extension, const std::string& content) {
    calibration = Calibration();
    person.boxes.clear();
    writeTestFile(folder + "area." + extension, content);
    for (const ReaderRow& row : readerTable()) {
      if (extension == row.extension) return row.read(folder + "area." + extension);
    }
    ADD_FAILURE() << extension;
    return {};
  }

  /// An OziExplorer map with this projection name and these lines behind the header.
  static std::string ozi(const std::string& projection, const std::string& lines, const std::string& datum = "WGS 84") {
    return "title\nscan.png\nC:\\x\\scan.png\n1 ,Map Code,\n" + datum +
           ",,0,0,\nReserved 1\nReserved 2\nMagnetic\nMap Projection," + projection + ",PolyCal\n" + lines;
  }

  /// Positions are compared to two millimetres.
  static void expectPosition(int slot, double latitude, double longitude) {
    EXPECT_NEAR(calibration.latitude[slot], latitude, 2e-8);
    EXPECT_NEAR(calibration.longitude[slot], longitude, 2e-8);
  }
};

}  // namespace vellandra

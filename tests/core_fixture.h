#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "calibration/calibration.h"
#include "calibration/datum_matching.h"
#include "calibration/driver.h"
#include "calibration/log.h"
#include "calibration/preferences.h"
#include "calibration/session.h"
#include "formats/format_table.h"
#include "formats/image_identification.h"
#include "geodesy/datum.h"
#include "imaging/map_image.h"
#include "scripted_interface.h"

namespace vellandra {

inline std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void writeTestFile(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

/// Position of a name in the datum table that is loaded.
inline int datumNumber(const std::string& name) {
  return findDatumByName(datumColumnName(name));
}

/// A folder of its own, the program's state as new, and a scripted person.
class CoreTest : public testing::Test {
 protected:
  CoreTest() {
    std::string pattern = std::filesystem::temp_directory_path() / "vellandra-test-XXXXXX";
    folder = std::string(mkdtemp(pattern.data())) + "/";
    calibration = Calibration();
    driver = Driver();
    preferences = defaultPreferences();
    preferences.datumsPath = SOURCE_FOLDER "/data/datums.txt";
    preferencesChanged = false;
    inputDatumName.clear();
    mapImage = MapImage();
    setFormatTable({readerTable(), writerTable(), getidata, saveMapImage});
    openLog(folder + "vellandra.log");
  }
  ~CoreTest() override {
    closeLog();
    std::filesystem::remove_all(folder);
  }

  std::string log() const {
    flushLog();
    return contentOf(folder + "vellandra.log");
  }

  /// An image of the given size in the test's folder; the pixels do not matter.
  void makeImage(const std::string& name, int width, int height) const {
    ASSERT_TRUE(SaveImage(ImageFormat::png, allocate24Bits(width, height), folder + name));
  }

  ScriptedInterface person;
  std::string folder;
};

}  // namespace vellandra

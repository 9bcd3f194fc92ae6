#pragma once

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
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
#include "calibration/unfinished.h"
#include "formats/format_table.h"
#include "formats/image_identification.h"
#include "geodesy/datum.h"
#include "imaging/map_image.h"
#include "scripted_interface.h"
#include "support/numbers.h"
#include "test_folder.h"

namespace vellandra {

inline std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void writeTestFile(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

/// While one lives, a file that grows past `bytes` is a write that fails on its way, as on a full disk.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    (void)std::signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit small{bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
  ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &before_); }

 private:
  rlimit before_{};
};

/// Position of a name in the datum table that is loaded.
inline int datumNumber(const std::string& name) {
  return findDatumByName(datumColumnName(name));
}

/// A folder of its own, the program's state as new, and a scripted person.
class CoreTest : public testing::Test {
 protected:
  CoreTest() {
    setenv("VELLANDRA_HOME", folder.c_str(), 1);
    calibration = Calibration();
    driver = Driver();
    preferences = defaultPreferences();
    preferences.datumsPath = SOURCE_FOLDER "/data/datums.txt";
    preferencesChanged = false;
    inputDatumName.clear();
    mapImage = MapImage();
    setFormatTable({formatRows(), getidata, saveMapImage});
    openLog(folder + "vellandra.log");
  }
  ~CoreTest() override {
    dropUnfinished();
    closeLog();
    unsetenv("VELLANDRA_HOME");
  }

  /// Converts `content` as the file `name` of the test's folder; true when the outputs were written.
  bool convert(const std::string& name, const std::string& content) const {
    writeTestFile(folder + name, content);
    return runBatch(folder + name) == 0;
  }
  std::string written(const std::string& name) const { return contentOf(folder + name); }

  std::string log() const {
    flushLog();
    return written("vellandra.log");
  }
  bool logHas(const std::string& text) const { return log().find(text) != std::string::npos; }
  static bool panelHas(const std::string& text) { return calibration.message.find(text) != std::string::npos; }
  std::string lastBox() const { return person.boxes.empty() ? "" : person.boxes.back().text; }

  /// "x,y latitude longitude" of every tie point, or of `count` slots from `first`, parted by "; ".
  static std::string points(int first = 1, int count = calibration.pointCount) {
    std::string text;
    const Calibration& c = calibration;
    for (int i = first; i < first + count; ++i) {
      text += (i == first ? "" : "; ") + std::to_string(c.points[i].pixelX) + "," + std::to_string(c.points[i].pixelY) +
              " " + formatNumber(c.points[i].latitude, "0.0#####") + " " +
              formatNumber(c.points[i].longitude, "0.0#####");
    }
    return text;
  }

  /// An image of the given size in the test's folder; the pixels do not matter.
  void makeImage(const std::string& name, int width, int height) const {
    ASSERT_TRUE(SaveImage(ImageFormat::png, allocate24Bits(width, height), folder + name));
  }

  ScriptedInterface person;
  const TestFolder ownFolder;
  const std::string& folder = ownFolder.path();
};

}  // namespace vellandra

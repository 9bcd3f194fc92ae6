#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <sstream>

#include "calibration/transform.h"
#include "core_fixture.h"
#include "support/paths.h"
#include "support/text.h"

namespace vellandra {
namespace {

namespace fs = std::filesystem;

const std::string samples = SOURCE_FOLDER "/samples/";

struct Place {
  int point;  ///< number of the tie point; 0 for a place that is none
  double x, y, lon, lat, deviation;
};

bool hasReader(const std::string& file) {
  return formatOf(file) != nullptr;
}

/// By file, the rows of positions.txt (no point number, a deviation) or tie_points.txt (a point number, no deviation).
std::map<std::string, std::vector<Place>> readPlaces(const std::string& list, bool tiePoints) {
  std::map<std::string, std::vector<Place>> places;
  std::istringstream lines(contentOf(samples + list));
  for (std::string line, file; std::getline(lines, line);) {
    std::istringstream row(line);
    Place place{};
    if (!(row >> file) || !hasReader(file)) continue;
    if (tiePoints) row >> place.point;
    row >> place.x >> place.y >> place.lon >> place.lat;
    if (!tiePoints) row >> place.deviation;
    places[file].push_back(place);
  }
  return places;
}

class SamplesTest : public CoreTest {
 protected:
  SamplesTest() {
    preferences.warnOverwrite = false;
    LoadDatums();
  }

  /// Converts a copy of `file`, alone with its image in the test's folder. The person knows what the grid files are on.
  int convert(const std::string& file) {
    for (const auto& entry : fs::directory_iterator(folder)) {
      if (entry.path().filename() != "vellandra.log") fs::remove_all(entry.path());
    }
    for (const auto& entry : fs::directory_iterator(fs::path(samples + file).parent_path())) {
      if (!hasReader(entry.path())) fs::copy_file(entry.path(), folder + entry.path().filename().string());
    }
    fs::copy_file(samples + file, folder + std::string(fileName(file)));
    const std::int16_t zone = file.starts_with("wales") ? 0 : 33;  // 0: the British grid
    person.worldFileAnswers = {WorldFileAnswer{WorldFileAnswer::Datum::notWgs84, zone, false}};
    person.datums = {datumNumber("European 1950")};
    return runBatch(folder + std::string(fileName(file)));
  }
};

TEST_F(SamplesTest, TiePointsAreThoseOfAnIndependentProjectionLibrary) {
  const auto files = readPlaces("tie_points.txt", true);
  EXPECT_GE(files.size(), 6U);
  for (const auto& [file, points] : files) {
    ASSERT_EQ(convert(file), 0) << file << calibration.message;
    ASSERT_GE(calibration.pointCount, static_cast<int>(points.size())) << file;
    constexpr double millimetres = 5e-8;  // in degrees: what the grids' series leave out
    for (const Place& place : points) {
      SCOPED_TRACE(file + " " + std::to_string(place.point));
      EXPECT_EQ(calibration.points[place.point].pixelX, place.x);
      EXPECT_EQ(calibration.points[place.point].pixelY, place.y);
      EXPECT_NEAR(calibration.points[place.point].latitude, place.lat, millimetres);
      EXPECT_NEAR(calibration.points[place.point].longitude, place.lon, millimetres);
    }
  }
}

// Five places come out where they are on the map, and every output, read back, puts them there again.
TEST_F(SamplesTest, AnyFormatToAnyFormat) {
  const auto expectNear = [](const Place& place, double latitude, double longitude, double pixels) {
    const Pixel pixel = pixelAt(calibration, latitude, longitude);
    EXPECT_LE(std::hypot(pixel.x - place.x, pixel.y - place.y), pixels);
  };
  std::set<std::string> written;
  for (const auto& [file, places] : readPlaces("positions.txt", false)) {
    SCOPED_TRACE(file);
    ASSERT_EQ(convert(file), 0);
    for (const Place& place : places) expectNear(place, place.lat, place.lon, place.deviation + 0.02);
    const Calibration original = calibration;
    std::set<std::string> outputs;
    for (const auto& entry : fs::directory_iterator(folder)) outputs.insert(entry.path().filename());
    outputs.erase(std::string(fileName(file)));
    for (const std::string& output : outputs) {
      SCOPED_TRACE("to " + output);
      const std::string extension = splitPath(output).extension;
      if (!hasReader(output) || (extension == "mcd" && std::abs(original.tf2) > 1e-9)) continue;  // .mcd: not rotated
      if (original.isMercator() && extension != "map" && extension != "jpr" && extension != "cal") {
        EXPECT_TRUE(original.message.find("The ." + extension + " file cannot name the Mercator projection") !=
                    std::string::npos);
        continue;
      }
      written.insert(extension);
      driver.stage = openCalibration;
      person.pickedFiles = {folder + output, original.imagePath};
      ASSERT_TRUE(runCommand(do_it)) << calibration.message;
      for (const Place& place : places) {
        const Position expected = positionAt(original, place.x, place.y);
        expectNear(place, expected.latitude, expected.longitude, 1.0);
      }
    }
  }
  EXPECT_EQ(std::ssize(written), std::ranges::count_if(formatRows(), [](const FormatRow& format) {
              return format.read != nullptr && format.write != nullptr;
            }));
}

}  // namespace
}  // namespace vellandra

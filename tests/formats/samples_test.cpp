#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <sstream>

#include "calibration/transform.h"
#include "core_fixture.h"
#include "support/numbers.h"
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
using PlacesOfFile = std::map<std::string, std::vector<Place>>;

/// The rows of positions.txt (no point number, a deviation) or tie_points.txt (a point number, no deviation).
PlacesOfFile readPlaces(const std::string& list, bool tiePoints) {
  PlacesOfFile places;
  std::istringstream lines(contentOf(samples + list));
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream row(line);
    std::string file;
    Place place{};
    row >> file;
    if (tiePoints) row >> place.point;
    row >> place.x >> place.y >> place.lon >> place.lat;
    if (!tiePoints) row >> place.deviation;
    places[file].push_back(place);
  }
  return places;
}

bool hasReader(const std::string& file) {
  const std::string extension = splitPath(file).extension;
  return std::any_of(readerTable().begin(), readerTable().end(),
                     [&extension](const ReaderRow& row) { return extension == row.extension; });
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
    for (const char* extension : {".png", ".jpg", ".gif"}) {
      for (const auto& entry : fs::directory_iterator(fs::path(samples + file).parent_path())) {
        if (entry.path().extension() == extension) {
          fs::copy_file(entry.path(), folder + entry.path().filename().string(), fs::copy_options::overwrite_existing);
        }
      }
    }
    fs::copy_file(samples + file, folder + std::string(fileName(file)));
    const bool british = file.starts_with("wales");
    using Datum = WorldFileAnswer::Datum;
    person.worldFileAnswers = {WorldFileAnswer{Datum::notWgs84, static_cast<std::int16_t>(british ? 0 : 33), false}};
    person.datums = {datumNumber("European 1950")};
    return runBatch(folder + std::string(fileName(file)));
  }
};

TEST_F(SamplesTest, TiePointsAreThoseOfAnIndependentProjectionLibrary) {
  int files = 0;
  for (const auto& [file, points] : readPlaces("tie_points.txt", true)) {
    if (!hasReader(file)) continue;
    ++files;
    ASSERT_EQ(convert(file), 0) << file << calibration.message;
    ASSERT_GE(calibration.pointCount, static_cast<int>(points.size())) << file;
    constexpr double millimetres = 5e-8;  // in degrees: what the grids' series leave out
    for (const Place& place : points) {
      EXPECT_EQ(calibration.pixelX[place.point], place.x) << file << place.point;
      EXPECT_EQ(calibration.pixelY[place.point], place.y) << file << place.point;
      EXPECT_NEAR(calibration.latitude[place.point], place.lat, millimetres) << file << " " << place.point;
      EXPECT_NEAR(calibration.longitude[place.point], place.lon, millimetres) << file << " " << place.point;
    }
  }
  EXPECT_GE(files, 6);
}

// Five places come out where they are on the map, and every output, read back, puts them there again.
TEST_F(SamplesTest, AnyFormatToAnyFormat) {
  std::set<std::string> written;
  for (const auto& [file, places] : readPlaces("positions.txt", false)) {
    if (!hasReader(file)) continue;
    ASSERT_EQ(convert(file), 0) << file;
    for (const Place& place : places) {
      const Pixel pixel = pixelAt(calibration, place.lat, place.lon);
      EXPECT_LE(std::hypot(pixel.x - place.x, pixel.y - place.y), place.deviation + 0.02) << file;
    }
    const Calibration original = calibration;
    const bool rotated = std::abs(original.tf2) > 1e-9;
    std::vector<std::string> outputs;
    for (const auto& entry : fs::directory_iterator(folder)) {
      const std::string name = entry.path().filename();
      if (name != fileName(file) && hasReader(name) && splitPath(name).base != "") outputs.push_back(name);
    }
    for (const std::string& output : outputs) {
      const std::string extension = splitPath(output).extension;
      if (extension == "mcd" && rotated) continue;  // cannot hold it, and says so
      const bool namesProjection = extension == "map" || extension == "jpr" || extension == "cal";
      if (original.isMercator() && !namesProjection) {
        EXPECT_NE(original.message.find("The ." + extension + " file cannot name the Mercator projection"),
                  std::string::npos);
        continue;
      }
      written.insert(extension);
      driver.inputPath = folder + output;
      driver.stage = openCalibration;
      person.pickedFiles = {folder + output, original.imagePath};
      ASSERT_TRUE(runCommand(do_it)) << file << " to " << output << calibration.message;
      for (const Place& place : places) {
        const Position expected = positionAt(original, place.x, place.y);
        const Pixel pixel = pixelAt(calibration, expected.latitude, expected.longitude);
        EXPECT_LE(std::hypot(pixel.x - place.x, pixel.y - place.y), 1.0) << file << " to " << output;
      }
    }
  }
  for (const ReaderRow& row : readerTable()) {
    const std::string extension = row.extension;
    const bool readOnly = extension == "jgw" || extension == "pgw" || extension == "gux" || extension == "imp";
    EXPECT_EQ(written.count(extension), readOnly ? 0U : 1U) << extension;
  }
}

}  // namespace
}  // namespace vellandra

#include "formats/world_file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <vector>

#include "calibration/calibration.h"
#include "calibration/datum_matching.h"
#include "calibration/driver.h"
#include "calibration/log.h"
#include "calibration/messages.h"
#include "calibration/preferences.h"
#include "formats/image_identification.h"
#include "formats/output.h"
#include "formats/point_fields.h"
#include "geodesy/datum.h"
#include "geodesy/national_grids.h"
#include "geodesy/utm.h"
#include "support/files.h"
#include "support/numbers.h"
#include "support/paths.h"
#include "support/text.h"
#include "support/user_interface.h"

namespace vellandra {
namespace {

constexpr const char* title = "TFW Input";
constexpr int corners = 4;

struct WorldFile {
  WorldFileTerms terms;
  std::string lines;  ///< as read, for the person to look at
};

/// Nothing when one of the six lines holds no number; the person has then been told.
std::optional<WorldFile> readTerms(const std::string& path) {
  WorldFile world;
  WorldFileTerms& t = world.terms;
  TextFile file(path);
  int number = 0;
  for (double* term : {&t.A, &t.D, &t.B, &t.E, &t.C, &t.F}) {
    ++number;
    std::string_view text;
    if (!getline(file, text) || !beginsWithNumber(text)) {
      tell("Line " + std::to_string(number) + " of the world file holds no number", title);
      return std::nullopt;
    }
    *term = parseNumber(text);
    world.lines.append(text).append("\r\n");
    writeLog(text);
  }
  return world;
}

/// " 1 : 174-180W" to " 60 : ...", then the British grid.
std::vector<std::string> zoneList() {
  std::vector<std::string> zones;
  for (int k = 1; k <= 60; ++k) {
    zones.push_back(" " + std::to_string(k) + " : " + std::to_string(std::abs(6 * k - 180)) + "-" +
                    std::to_string(std::abs(6 * k - 186)) + (k <= 30 ? "W" : "E"));
  }
  zones.emplace_back("GB-OrdSvy");
  return zones;
}

/// How map positions of the file become latitude and longitude.
struct Grid {
  enum class Kind { degrees, utm, british } kind = Kind::degrees;
  std::int16_t zone = 0;
  bool southern = false;
  int datumIndex = 0;
};

/// Asks for what the file does not say. Nothing when the person makes no choice.
std::optional<Grid> askGrid(const WorldFile& world) {
  const WorldFileTerms& t = world.terms;
  const WorldFileAnswer answer = userInterface().askWorldFile(world.lines, zoneList());
  if (answer.datum == WorldFileAnswer::Datum::none || answer.zone < 0 || answer.zone > 60) {
    tell("No zone chosen", title);
    return std::nullopt;
  }
  if (answer.zone == 0 && !fitsBritishGrid(t.C, t.F)) {
    tell("Invalid UTM TFW file", title);
    return std::nullopt;
  }
  if (answer.zone == 0) return Grid{Grid::Kind::british, 0, false, matchDatum(wgs84Name)};
  const bool wgs84 = answer.datum == WorldFileAnswer::Datum::wgs84;
  return Grid{Grid::Kind::utm, answer.zone, answer.southern,
              wgs84 ? matchDatum(wgs84Name) : askDatum("TFW file datum")};
}

std::optional<Grid> gridOf(const WorldFile& world) {
  const WorldFileTerms& t = world.terms;
  if (std::abs(t.C) <= 180 && std::abs(t.F) <= 90) return Grid{Grid::Kind::degrees, 0, false, matchDatum(wgs84Name)};
  if (t.C >= 0 && t.C <= 1000000 && t.F >= 0) return askGrid(world);
  tell("Invalid UTM TFW file", title);
  return std::nullopt;
}

void placePoint(int slot, const WorldFileTerms& t, const Grid& grid) {
  const double x = calibration.points[slot].pixelX;
  const double y = calibration.points[slot].pixelY;
  const double mapX = t.A * x + t.B * y + t.C;
  const double mapY = t.D * x + t.E * y + t.F;
  double lat = mapY;
  double lon = mapX;
  PointGrid givenIn;
  if (grid.kind == Grid::Kind::utm) {
    const auto datum = static_cast<std::size_t>(grid.datumIndex);
    UtmToLatLong(grid.zone, mapY - (grid.southern ? southernFalseNorthing : 0), mapX, datumTable.dA[datum],
                 datumTable.dF[datum], lat, lon);
    givenIn = {.grid = EntryGrid::utm, .zone = grid.zone, .southern = grid.southern};
  } else if (grid.kind == Grid::Kind::british) {
    OsGridToLatLong("SV", mapY, mapX, lat, lon);
    givenIn.grid = EntryGrid::british;
  }
  calibration.points[slot].setPosition(lat, lon, givenIn);
  writeLog("lat " + formatGeneral(lat) + " lon " + formatGeneral(lon));
}

void placeCorners(const WorldFileTerms& terms, const Grid& grid) {
  Calibration& c = calibration;
  const std::int32_t right = c.imageWidth - 1;
  const std::int32_t bottom = c.imageHeight - 1;
  const std::array<std::array<std::int32_t, 2>, corners> pixels = {{{0, 0}, {right, 0}, {right, bottom}, {0, bottom}}};
  for (int k = 0; k < corners; ++k) {
    const auto [x, y] = pixels[static_cast<std::size_t>(k)];
    c.points[k + 1].setPixel(x, y);
    placePoint(k + 1, terms, grid);
    c.points[firstCornerSlot + k].setPixel(x, y);
    c.points[firstCornerSlot + k].setPosition(c.points[k + 1].latitude, c.points[k + 1].longitude);
  }
  c.pointCount = c.cornerCount = corners;
}

std::string scaleTerm(double value) {
  return preferences.gisPrograms ? formatGeneral(value) : formatNumber(value, "###0.000000000");
}

std::string originTerm(double value) {
  return preferences.gisPrograms ? formatGeneral(value) : formatNumber(value, "###0.0000000");
}

/// The ending under which other programs look for the world file of the map's image; empty for the usual one.
std::string endingForGis() {
  const std::string image = lowerCase(imageExtension());
  const std::pair<const char*, const char*> endings[] = {
      {"png", ".pgw"}, {"jpg", ".jgw"}, {"gif", ".gfw"}, {"bmp", ".bpw"}};
  for (const auto& [extension, ending] : endings) {
    if (image == extension) return ending;
  }
  return {};
}

/// Says on the panel by how many pixels the rounded terms put a corner of the image off, from one pixel on.
void reportRounding(const WorldFileTerms& t, const WorldFileTerms& rounded) {
  double most = 0;
  for (const double x : {0.0, calibration.imageWidth - 1.0}) {
    for (const double y : {0.0, calibration.imageHeight - 1.0}) {
      const double dX = (rounded.A - t.A) * x + (rounded.B - t.B) * y + rounded.C - t.C;
      const double dY = (rounded.D - t.D) * x + (rounded.E - t.E) * y + rounded.F - t.F;
      const double determinant = t.A * t.E - t.B * t.D;
      most = std::max(most, std::hypot(t.E * dX - t.B * dY, t.A * dY - t.D * dX) / std::abs(determinant));
    }
  }
  if (!(most >= 1)) return;
  showMessage("The .tfw file cannot hold more decimals: places are up to " + formatNumber(most, "###0.0") +
              " pixels off. The preference GisPrograms writes all digits");
}

}  // namespace

ReadResult readWorldFile(const std::string& path) {
  ReadResult result;
  result.stopped = true;
  const std::optional<WorldFile> world = readTerms(path);
  if (!world) return result;

  const PathParts parts = splitPath(path);
  calibration.imagePath = parts.folder + parts.base + ".png";
  getidata(calibration.imagePath, calibration.imageWidth, calibration.imageHeight);
  if (calibration.imageWidth == 0 || calibration.imageHeight == 0) {
    tell("Unable to proceed without matching image");
    return result;
  }
  writeLog("using " + calibration.imagePath + " as image file");

  const std::optional<Grid> grid = gridOf(*world);
  if (!grid) return result;
  placeCorners(world->terms, *grid);
  return {grid->datumIndex};
}

WriteOutcome writeWorldFile(const std::string& stem) {
  reportLostProjection(".tfw");
  const WorldFileTerms& t = driver.worldFile;
  const std::array<std::string, 6> terms = {scaleTerm(t.A), scaleTerm(t.D),  scaleTerm(t.B),
                                            scaleTerm(t.E), originTerm(t.C), originTerm(t.F)};
  std::array<double, 6> rounded{};
  std::string content;
  for (std::size_t i = 0; i < terms.size(); ++i) {
    content += line(terms[i]);
    rounded[i] = parseNumber(terms[i]);
  }
  reportRounding(t, {rounded[0], rounded[1], rounded[2], rounded[3], rounded[4], rounded[5]});
  const WriteOutcome outcome = writeCalibrationFile(stem + ".tfw", content);
  const bool ofWorldFile = driver.inputFormat != nullptr && driver.inputFormat->read == readWorldFile;
  if (!preferences.gisPrograms || ofWorldFile || outcome == WriteOutcome::failed) return outcome;
  const std::string ending = endingForGis();
  return ending.empty() ? outcome : writeCalibrationFile(stem + ending, content);
}

}  // namespace vellandra

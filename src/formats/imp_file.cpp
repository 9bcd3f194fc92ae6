#include "formats/imp_file.h"

#include <map>
#include <vector>

#include "calibration/calibration.h"
#include "calibration/datum_matching.h"
#include "formats/image_identification.h"
#include "formats/point_fields.h"
#include "geodesy/datum.h"
#include "support/files.h"
#include "support/numbers.h"
#include "support/text.h"
#include "support/user_interface.h"

namespace vellandra {
namespace {

using Fields = std::vector<std::string_view>;

enum class Kind { unknown, geographic, grid };

struct ImpFile {
  std::string datum = wgs84Name;
  Kind byProjection = Kind::unknown, byCoordinates = Kind::unknown;
  std::string unknownProjection;  ///< the name, where it is none of those that are read
  /// By digit, the last line of each; placed at the end, because datum and kind may stand behind them.
  std::map<char, Fields> pointLines;
};

Kind kindOfProjection(const std::string& name) {
  if (name == "utm") return Kind::grid;
  if (name == "transversal mercator" || name == "automatic") return Kind::geographic;
  return Kind::unknown;
}

bool isPointKey(std::string_view key) {
  return key.size() == 2 && key[0] == 'p' && key[1] >= '0' && key[1] <= '9';
}

void readLine(std::string_view line, ImpFile& imp) {
  const Fields fields = splitFields(line, "=,");
  const std::string key = lowerCase(field(fields, 0));
  const std::string_view value = field(fields, 1);
  if (key == "datum" && !value.empty()) {
    imp.datum = value;
  } else if (key == "projection") {
    calibration.projection = lowerCase(field(fields, 2));
    imp.byProjection = kindOfProjection(calibration.projection);
    imp.unknownProjection =
        imp.byProjection != Kind::unknown || calibration.projection.empty() ? "" : std::string(field(fields, 2));
  } else if (key == "coordinates" && !value.empty()) {
    imp.byCoordinates = parseNumber(value) == 1 ? Kind::geographic : Kind::grid;
  } else if (key == "bitmapwidth") {
    calibration.imageWidth = parseInt16(value);
  } else if (key == "bitmapheight") {
    calibration.imageHeight = parseInt16(value);
  } else if (isPointKey(key)) {
    imp.pointLines[key[1]] = fields;
  }
}

void placePoints(const ImpFile& imp, int datumIndex) {
  Kind kind = imp.byCoordinates != Kind::unknown ? imp.byCoordinates : imp.byProjection;
  // Metres of another grid would give places on the earth as UTM, too: wrong ones.
  if (kind == Kind::grid && !imp.unknownProjection.empty()) kind = Kind::unknown;
  if (kind == Kind::unknown && !imp.pointLines.empty()) {
    tell("Unknown IMP Projection/Coordinates");
    if (!imp.unknownProjection.empty()) reportUnknownProjection(imp.unknownProjection);
  }
  for (const auto& [digit, fields] : imp.pointLines) {
    const int slot = digit - '0' + 1;
    const std::string_view zone = field(fields, 3);
    readPixel(slot, field(fields, 1), field(fields, 2));
    if (kind == Kind::geographic) {
      readDegrees(slot, field(fields, 5), field(fields, 4));
    } else if (kind == Kind::grid) {
      const bool southern = !zone.empty() && isSouthernBand(zone.back());
      readUtm(slot, datumIndex, zone, southern, field(fields, 4), field(fields, 5));
    }
  }
}

}  // namespace

ReadResult readImp(const std::string& path) {
  ImpFile imp;
  TextFile file(path);
  std::string_view line;
  while (getline(file, line)) readLine(line, imp);
  ReadResult result;
  result.datumIndex = matchDatum(imp.datum);
  if (result.datumIndex != 0) placePoints(imp, result.datumIndex);
  closePointGaps();
  calibration.imagePath = imageBeside(path);
  logPointCount();
  return result;
}

}  // namespace vellandra

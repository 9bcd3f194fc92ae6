#pragma once

#include <cstdint>
#include <string>

#include "support/numbers.h"

namespace vellandra {

/// The settings kept in `calconv.ini`.
struct Preferences {
  bool warnOverwrite = true;      ///< ask before an output file is replaced
  bool stretchNotRotate = false;  ///< world-file output stretched instead of rotated
  bool writeWgs84 = false;        ///< also write outputs under the WGS 84 output names
  bool showGrid = true;
  std::string datumsPath;    ///< of the datum table
  std::string sevenZipPath;  ///< of the 7-Zip program; empty while not located
  std::uint8_t degreeFormat = 1;
  /// The last datum name that the person matched by hand, and the table's name chosen for it, in the table's shape.
  std::string unmatchedName, matchedName;
  std::int16_t tileWidth = 200, tileHeight = 200;  ///< pixels
  std::int16_t garminDrawOrder = 20;               ///< 1 to 99
  std::int16_t garminJpegQuality = 5;              ///< 1 (bad) to 5 (superb)
  bool advancedGarminMapping = false;
  std::int16_t kmzTransparency = 1;
  bool gisPrograms = false;  ///< outputs are spelt as GDAL, QGIS, GPXSee and Google Earth insist on
  bool operator==(const Preferences&) const = default;
};
/// What the preferences dialog takes.
inline constexpr NumberRange tileSides{1, 32767}, garminDrawOrders{1, 99}, garminJpegQualities{1, 5};

extern Preferences preferences;
extern bool preferencesChanged;

Preferences defaultPreferences();

/// Sets every default, then reads `calconv.ini` if it is there. A number that does not fit keeps its default, with a
/// line on the panel.
void readPreferences();

/// Writes `calconv.ini` in full and clears `preferencesChanged`. On failure shows "unable to write " and the path, and
/// returns false.
bool writePreferences();

/// What the preferences dialog holds when OK is pressed: check boxes, and text boxes as typed.
struct PreferencesForm {
  bool warnOverwrite, stretchNotRotate, writeWgs84;
  std::string tileWidth, tileHeight;
  bool showGrid, advancedGarminMapping, kmzTransparency;
  std::string garminDrawOrder, garminJpegQuality;
  std::uint8_t degreeFormat;
  bool gisPrograms;
};

/// Stores the dialog's values, numbers rounded half to even; one that is not allowed is told in a message box and not
/// stored. False when there was one.
bool storePreferences(const PreferencesForm& form);

}  // namespace vellandra

#pragma once

#include <string>

#include "calibration/format_row.h"

namespace vellandra {

/// Writes a calibration file of the current run. An existing file is replaced only when the person agrees, or without a
/// question when the preference "warnoverwrite" is off. A failed write is told. The driver's lists of files get the
/// path.
WriteOutcome writeCalibrationFile(const std::string& path, const std::string& content);

/// The image's name as calibrations give it: the input's base name, ".", the image's extension; in the encoding of the
/// input file.
std::string imageNameForOutput();

/// The extension of the image, its last three characters as on disk.
std::string imageExtension();

/// `name` in the encoding of the input file.
std::string inInputEncoding(const std::string& name);

/// Says on the panel by how many pixels a Mercator map is off in a file named by `ending` that cannot name a
/// projection, and is read as linear in latitude from row 0 to the last. Nothing below half a pixel, and for other
/// maps.
void reportLostProjection(const std::string& ending);

/// A line with its CR LF.
std::string line(std::string text);

}  // namespace vellandra

#pragma once

#include <string>
#include <string_view>

namespace vellandra {

// What readers share beside tie points: how a calibration file names its datum and its image.

/// Looks up a datum as a file names it, "WGS84" meaning "WGS 84"; asks the person when the table does not hold it.
/// Returns its index, or 0. To be called once a file.
int matchFileDatum(std::string_view name);

/// Path of the image that the calibration at `path` names: in the calibration's own folder, whatever folder `name`
/// holds; the calibration's base name with ".png" when it names none.
std::string imageBeside(const std::string& path, std::string_view name = {});

}  // namespace vellandra

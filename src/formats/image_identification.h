#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vellandra {

/// Finds the image that belongs to a calibration. `path` in: the image as the calibration gives it; out: the file found
/// (as named, without regard to case, with another image extension, in the same ways at one of `others`, which the
/// panel names, or chosen by the person), empty when there is none. A file that is no image is passed over. `width` and
/// `height` in: as the calibration states them, 0 when it does not; out: the image's own, 0 without an image. Throws
/// Overflow for an image past 32767 pixels.
void getidata(std::string& path, std::int16_t& width, std::int16_t& height,
              const std::vector<std::string>& others = {});

/// Path of the image that the calibration file `calibrationPath` calls `name`: in the calibration's own folder, by the
/// name alone. Without a name it is the calibration's base name with ".png".
std::string imageBeside(const std::string& calibrationPath, std::string_view name = {});

}  // namespace vellandra

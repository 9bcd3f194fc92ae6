#include "imaging/map_image.h"

#include <algorithm>
#include <array>
#include <system_error>

#include "calibration/calibration.h"
#include "raster/large_images.h"
#include "support/numbers.h"
#include "support/paths.h"

namespace vellandra {

MapImage mapImage;

namespace {

/// The hourglass, also while an error makes its way out.
struct Busy {
  Busy() { userInterface().showBusy(true); }
  ~Busy() { userInterface().showBusy(false); }
  Busy(const Busy&) = delete;
  Busy& operator=(const Busy&) = delete;
};

/// Nothing when there is no such file.
std::optional<FileStamp> stampOf(const std::string& path) {
  const std::filesystem::path file = findFile(path);
  std::error_code error;
  FileStamp stamp;
  stamp.size = std::filesystem::file_size(file, error);
  if (!error) stamp.time = std::filesystem::last_write_time(file, error);
  return error ? std::nullopt : std::optional(stamp);
}

/// Enough to keep thin lines, few enough for any size of map.
constexpr int samplesASide = 3;

/// Mean colour of the cell of `image` that pixel (x, y) of a picture of `width` x `height` shows.
std::array<std::uint8_t, 3> cellColor(const Bitmap& image, int x, int y, int width, int height) {
  const auto place = [](int cell, int sample, int side, int cells) {
    const double at = (cell + (sample + 0.5) / samplesASide) * side / cells;
    return std::min(static_cast<int>(at), side - 1);
  };
  std::array<int, 3> sums{};
  for (int j = 0; j < samplesASide; ++j) {
    const auto row = image.row(place(y, j, image.height(), height));
    for (int i = 0; i < samplesASide; ++i) {
      const auto pixel = static_cast<std::size_t>(place(x, i, image.width(), width)) * 3;
      for (std::size_t part = 0; part < 3; ++part) sums[part] += row[pixel + part];
    }
  }
  std::array<std::uint8_t, 3> color{};
  for (std::size_t part = 0; part < 3; ++part) {
    color[part] = static_cast<std::uint8_t>(sums[part] / (samplesASide * samplesASide));
  }
  return color;
}

}  // namespace

Bitmap asColors(Bitmap image) {
  if (image.bitsPerPixel() == 24) return image;
  return runWork("Converting colours", [&image] {
    Bitmap colors = colorsOf(image);
    image.reset();
    return colors;
  });
}

bool loadMapImage(const std::string& path) {
  const Busy busy;
  // Before it is read: a change meanwhile is noticed the next time.
  const std::optional<FileStamp> stamp = stampOf(path);
  Bitmap loaded = LoadImageByExtension(path);
  if (!loaded) {
    tell("file load error 1");
    return false;
  }
  Bitmap converted = asColors(std::move(loaded));
  if (!converted) {
    tell("File convert error 1");
    return false;
  }
  mapImage = {std::move(converted), path, stamp};
  return true;
}

bool isOnShow(const std::string& path) {
  if (!mapImage.bitmap || mapImage.path != path) return false;
  return path == clipboardImage || (mapImage.file && mapImage.file == stampOf(path));
}

std::string sizeProblem(const Bitmap& image) {
  if (image.width() == calibration.imageWidth && image.height() == calibration.imageHeight) return "";
  return "The image is " + sizeText(image.width(), image.height()) + " now, the calibration is for " +
         sizeText(calibration.imageWidth, calibration.imageHeight);
}

bool takeMapImage(const Picture& picture) {
  Bitmap bitmap = runWork("Taking the picture", [&picture] {
    Bitmap image = allocate24Bits(toInt16(picture.width), toInt16(picture.height));
    const auto rowBytes = static_cast<std::size_t>(picture.width) * 3;
    for (int y = 0; y < image.height(); ++y) {
      const auto row = picture.pixels.begin() + static_cast<std::ptrdiff_t>(rowBytes) * y;
      std::copy(row, row + static_cast<std::ptrdiff_t>(rowBytes), image.row(y).begin());
    }
    return image;
  });
  if (!bitmap) return false;
  mapImage = {std::move(bitmap), clipboardImage};
  return true;
}

Picture pictureOf(const Bitmap& bitmap, int longestSide) {
  if (!bitmap) return {};
  const double scale = std::min(1.0, static_cast<double>(longestSide) / std::max(bitmap.width(), bitmap.height()));
  Picture picture;
  picture.width = std::max(1, static_cast<int>(bitmap.width() * scale));
  picture.height = std::max(1, static_cast<int>(bitmap.height() * scale));
  picture.pixels.reserve(static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height) * 3);
  for (int y = 0; y < picture.height; ++y) {
    endIfCancelled();
    for (int x = 0; x < picture.width; ++x) {
      const auto color = cellColor(bitmap, x, y, picture.width, picture.height);
      picture.pixels.insert(picture.pixels.end(), color.begin(), color.end());
    }
  }
  return picture;
}

bool saveMapImage(const std::string& path) {
  if (!mapImage.bitmap) return false;
  return runWork("Saving " + std::string(fileName(path)), [&path] {
    const EncodedImage encoded = encodeImage(ImageFormat::png, mapImage.bitmap);
    settleWork();
    return saveEncodedImage(encoded, path);
  });
}

}  // namespace vellandra

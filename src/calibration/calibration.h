#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "geodesy/point_grid.h"
#include "support/errors.h"

namespace vellandra {

inline constexpr int maxSlot = 50;
inline constexpr int maxTiePoints = 30;     ///< tie points that a calibration file can hold
inline constexpr int firstCornerSlot = 31;  ///< corner k of the map is held in slot k + 30
inline constexpr int maxCorners = maxSlot - firstCornerSlot + 1;

/// The image path of a picture that came from the clipboard and is in no file yet.
inline constexpr const char* clipboardImage = "clip.board";

/// A value for each slot of the record: slots 0 to 50, of which 0 is never used. Any other slot throws
/// SubscriptOutOfRange.
template <typename T>
class Slots {
 public:
  T& operator[](int slot) { return values_[checked(slot)]; }
  const T& operator[](int slot) const { return values_[checked(slot)]; }

 private:
  static std::size_t checked(int slot) {
    if (slot < 0 || slot > maxSlot) throw SubscriptOutOfRange("point " + std::to_string(slot));
    return static_cast<std::size_t>(slot);
  }
  std::array<T, maxSlot + 1> values_{};
};

/// What one slot holds. Pixels count from the top-left corner; angles are decimal degrees, north and east positive.
struct CalibrationPoint {
  std::int32_t pixelX = 0, pixelY = 0;
  double latitude = 0, longitude = 0;
  std::string datumName;                       ///< of the position, trimmed; empty when it is not known
  PointGrid grid;                              ///< in which the position was given, on its datum before any shift
  bool hasPixel = false, hasPosition = false;  ///< which halves of the slot the reader has filled
  bool givenTwice = false;                     ///< the file holds more than one line for the slot; the last one counts

  void setPixel(std::int32_t x, std::int32_t y);
  void setPosition(double lat, double lon, const PointGrid& givenIn = {});
  bool isComplete() const { return hasPixel && hasPosition; }
  bool isEmpty() const { return !hasPixel && !hasPosition; }
};

/// A tie point that the person has switched off: kept, and known to no fit and no file.
struct OffPoint {
  int number = 0;  ///< its place in the order of entry, counted from 1, of all points
  CalibrationPoint point;
};

/// The calibration of the map that is loaded: tie points in slots 1 to `pointCount`, map corners in slots 31 and up.
struct Calibration {
  std::string imagePath;
  std::int16_t imageWidth = 0, imageHeight = 0;  ///< pixels; 0 while not known
  std::int16_t pointCount = 0;
  std::int16_t cornerCount = 0;

  Slots<CalibrationPoint> points;
  std::vector<OffPoint> offPoints;  ///< in the order of their numbers

  std::string projection;  ///< as read, lower case; "mercator" selects the Mercator model

  /// longitude = x0 + tf1 x + tf3 y; latitude = y0 + tf2 x + tf4 y. In the Mercator model longitude = x0 + tf1 x.
  double tf1 = 0, tf2 = 0, tf3 = 0, tf4 = 0, x0 = 0, y0 = 0;
  double mercatorTop = 0, mercatorBottom = 0;  ///< Mercator ordinates of row 0 and of row `imageHeight`

  bool fitFailed = false;  ///< a determinant of the last fit was zero
  float averageError = 0;  ///< pixels: the residual of the last point
  std::string message;     ///< text of the message panel, lines ended by CR LF

  bool isMercator() const;
  /// The number by which the person knows the tie point of a slot: those that are switched off count as well.
  int numberOf(int slot) const;
  /// Empty again but for the message panel's text.
  void clear();
};
extern Calibration calibration;

/// Moves the tie points that have both a pixel and a position together to slots 1 and up and sets `pointCount`; says on
/// the panel which numbers were missing or incomplete, up to the last slot filled or the count that the reader left. To
/// be called once, after a reader.
void closePointGaps();

/// Drops map corners that are not complete.
void dropIncompleteCorners();

}  // namespace vellandra

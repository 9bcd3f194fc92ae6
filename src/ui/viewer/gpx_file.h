#pragma once

#include <QIODevice>
#include <QString>
#include <vector>

#include "geodesy/position.h"

namespace vellandra {

struct GpxWaypoint {
  Position position;
  QString name;
};

/// What a GPX file (versions 1.0 and 1.1) shows on a map, on WGS 84.
struct GpxFile {
  std::vector<std::vector<Position>> lines;  ///< segments of tracks, and routes
  std::vector<GpxWaypoint> waypoints;
  QString
      problem;  ///< for the person, behind the file's name: why it holds less than it seems to; empty when all is well

  bool isEmpty() const { return lines.empty() && waypoints.empty(); }
};

/// Reads a file of up to a gigabyte and half a million points. What stands before a damaged place is kept. Throws
/// Cancelled.
GpxFile readGpx(const QString& path);
GpxFile readGpx(QIODevice& device);

}  // namespace vellandra

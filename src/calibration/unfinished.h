#pragma once

#include <optional>
#include <string>

#include "calibration/calibration.h"

namespace vellandra {

// The points of a calibration in the making are in no file of the person's yet. They are kept in the settings folder,
// in a file that belongs to this process as long as it lives, so that the next start can go on after a crash.

/// A calibration as it was kept: image, points, projection, and where its files will be.
struct UnfinishedCalibration {
  Calibration map;
  std::string inputPath;
  bool inputIsWindows1252 = false;
};

/// Keeps the image's path and size, the points and the projection of `map`, in place of what was kept; the picture,
/// too, when it is the clipboard's. Without a point there is nothing to keep. A file that cannot be written is told on
/// the panel once.
void keepUnfinished(const Calibration& map);
bool isUnfinishedKept();

/// Nothing has to be kept any more: it is written, or given up on purpose. Takes the file away.
void dropUnfinished();

/// Leaves the file for the next start.
void leaveUnfinished();

/// What a process that is no more has kept, the next one behind `number`, which counts on; it is this process's from
/// now on, as if it had been kept here. Nothing when there is no other. Damaged files are passed over.
std::optional<UnfinishedCalibration> takeUnfinished(int& number);

/// The kept picture of the clipboard, see `keepUnfinished`.
std::string unfinishedPicture();

}  // namespace vellandra

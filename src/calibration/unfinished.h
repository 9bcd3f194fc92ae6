#pragma once

#include <ctime>
#include <memory>
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
  std::time_t keptAt = 0;
};

/// Keeps the picture on show when the open map's image is the clipboard's, before points are placed on it: work that
/// takes long. When it fails or the person ends it, which the panel tells, the points are not kept either.
void keepUnfinishedPicture();

/// Keeps the image's path and size, the points and the projection of `map`, in place of what was kept. Without a point
/// there is nothing to keep. A file that cannot be written is told on the panel once.
void keepUnfinished(const Calibration& map);
/// Whether points are kept.
bool isUnfinishedKept();

/// Nothing has to be kept any more: it is written, or given up on purpose. Takes the file away.
void dropUnfinished();

/// Leaves the file for the next start.
void leaveUnfinished();

/// What a process that is no more has kept, the next one behind `number`, which counts on; it is this process's from
/// now on, as if it had been kept here. Nothing when there is no other. Damaged files are passed over.
std::optional<UnfinishedCalibration> takeUnfinished(int& number);

/// The kept picture of the clipboard, see `keepUnfinishedPicture`.
std::string unfinishedPicture();

struct KeptFile;

/// Sets what is kept aside while a command works with other maps. At the end it is kept again, and what was kept
/// meanwhile is left for the next start: only an error comes between.
class UnfinishedAside {
 public:
  UnfinishedAside();
  UnfinishedAside(const UnfinishedAside&) = delete;
  UnfinishedAside& operator=(const UnfinishedAside&) = delete;
  ~UnfinishedAside();
  /// What was set aside is given up, and what is kept now stays so.
  void drop();

 private:
  std::unique_ptr<KeptFile> aside_;
  bool putBack_ = true;
};

}  // namespace vellandra

#include "imaging/merge.h"

#include "calibration/derived_map.h"
#include "calibration/driver.h"
#include "calibration/log.h"
#include "calibration/messages.h"
#include "calibration/open_map.h"
#include "formats/map_file.h"
#include "imaging/map_image.h"
#include "imaging/merge_pixels.h"
#include "imaging/merge_question.h"
#include "imaging/merged_colors.h"
#include "imaging/saved_map.h"
#include "raster/large_images.h"
#include "support/numbers.h"
#include "support/threads.h"
#include "support/user_interface.h"

namespace vellandra {
namespace {

/// One side as its file has it: its calibration goes to `map`, the names of its files are added to `files`. False, with
/// the person told, when it cannot be opened.
bool openSide(const std::string& pickerTitle, Calibration& map, MapFiles& files) {
  driver.stage = openCalibration;
  driver.pickerTitle = pickerTitle;
  const bool opened = do_it();
  driver.pickerTitle = Driver().pickerTitle;
  if (!opened) return false;
  map = calibration;
  files.insert(files.end(), {map.imagePath, mapPathBeside(map.imagePath), driver.inputPath});
  return true;
}

/// Empty, with the person told, when it is not to be had in the size that the calibration is for.
Bitmap imageOf(const Calibration& map) {
  Bitmap image = LoadImageByExtension(map.imagePath);
  if (image.width() == map.imageWidth && image.height() == map.imageHeight) return image;
  tell("Unable to load map");
  return {};
}

/// Asked before the images are decoded, which can take long. False when the person does not want to go on.
bool isWorthAMerge(const MergeSides& sides) {
  const Canvas largest = proposedCanvas(sides);
  const MergeMapOn expanded = mergeMapOn(sides, largest);
  if (expanded == MergeMapOn::outside) {
    return askOkCancel("The merge map lies outside the base map, even expanded to " +
                           sizeText(largest.width, largest.height) + " : OK to go on else cancel",
                       "Merge Maps");
  }
  if (expanded == MergeMapOn::partly) {
    showMessage("Expanded to " + sizeText(largest.width, largest.height) +
                ", the base map does not hold all of the merge map");
  }
  return mergeMapOn(sides, wholeMap(sides.a)) != MergeMapOn::outside ||
         askOkCancel("The maps do not meet, only an expanded base map shows both : OK to go on else cancel",
                     "Merge Maps");
}

constexpr int previewSide = 800;  // pixels

/// The dialog: what it holds, and what its buttons do.
class Dialog {
 public:
  explicit Dialog(MergeMaps& maps) : maps_(maps), canvas_(proposedCanvas(maps.sides)) {
    question_.expandCaption = "Expand base map to " + sizeText(canvas_.width, canvas_.height);
    question_.preview = previewOf(maps_.base);
  }

  /// Until the person closes it, also when the work of a button is cancelled, or memory runs out and there is nothing
  /// to lose.
  void run() {
    while (true) {
      question_.merged = static_cast<bool>(result_.image);
      question_.answer = {};
      userInterface().askMerge(question_);
      const MergeAnswer& answer = question_.answer;
      question_.percentage = answer.percentage;
      question_.enlarge = answer.enlarge;
      if (answer.action == MergeAnswer::Action::close) {
        if (mayClose()) return;
      } else if (!work(answer)) {
        return;
      }
    }
  }

  bool anythingSaved() const { return anythingSaved_; }

 private:
  static Picture previewOf(const Bitmap& image) {
    return runWork("Scaling the map down", [&image] { return pictureOf(image, previewSide); });
  }

  /// False when the dialog cannot go on.
  bool work(const MergeAnswer& answer) {
    try {
      if (answer.action == MergeAnswer::Action::merge) return merge(answer);
      save();
    } catch (const Cancelled& cancelled) {
      showMessage(cancelled.what());
    }
    return true;
  }

  bool mayClose() const {
    return !unsaved_ || askOkCancel("Merged file not written : OK to exit procedure else cancel");
  }

  /// False when there is no memory for the result and no earlier one that waits to be saved.
  bool merge(const MergeAnswer& answer) {
    const std::optional<double> percentage = numberIn(answer.percentage, mergeWeights);
    if (!percentage) {
      tell("Transparency must be 0 to 100");
      return true;
    }
    if (mergeMapOn(maps_.sides, answer.enlarge ? canvas_ : wholeMap(maps_.sides.a)) == MergeMapOn::outside) {
      tell("Nothing of the merge map lies on the base map");
      return true;
    }
    const auto t = static_cast<float>(*percentage / 100);
    MergedMap result = mergedMap(maps_, answer.enlarge ? std::optional(canvas_) : std::nullopt, t, coreCount());
    if (!result.image) return unsaved_;
    question_.preview = previewOf(result.image);
    result_ = std::move(result);
    return unsaved_ = true;
  }

  void save() {
    if (!result_.image) return;
    const std::optional<std::string> path = askWhereToSave(maps_.files);
    if (!path) return;
    const Bitmap reduced = runWork("Rebuilding palette", [this] { return reduceMerged(result_.image, coreCount()); });
    writeLog("Quantize for save");
    if (!saveAndOpen(reduced ? reduced : result_.image, result_.map, *path)) return;
    unsaved_ = false;
    anythingSaved_ = true;
    showMessage("Merged map saved as " + *path + ", with its calibration beside it");
  }

  MergeMaps& maps_;
  Canvas canvas_;
  MergeQuestion question_;
  MergedMap result_;
  bool unsaved_ = false, anythingSaved_ = false;
};

}  // namespace

std::optional<MergeMaps> openMergeMaps() {
  MergeMaps maps;
  if (!openSide("Open calibration file for base map", maps.sides.a, maps.files)) return std::nullopt;
  if (!openSide("Open calibration file for merge map", maps.sides.b, maps.files)) return std::nullopt;
  bringLongitudesTogether(maps.sides);
  if (!isWorthAMerge(maps.sides)) return std::nullopt;
  maps.base = asColors(imageOf(maps.sides.a));
  if (!maps.base) return std::nullopt;
  Bitmap merge = imageOf(maps.sides.b);
  maps.mergeOpacity = runWork("Converting colours", [&merge] { return opacity(merge); });
  maps.merge = asColors(std::move(merge));
  if (!maps.merge) return std::nullopt;
  return maps;
}

MergedMap mergedMap(const MergeMaps& maps, const std::optional<Canvas>& canvas, float t, unsigned threads) {
  MergedMap result;
  if (canvas) writeLog("Expanding");
  result.image = runWork("Merging", [&] {
    return canvas ? enlarge(maps.base, *canvas, threads)
                  : copied(maps.base, 0, 0, maps.base.width(), maps.base.height());
  });
  if (!result.image) {
    tell("Unable to allocate memory for merged map");
    return {};
  }
  if (canvas) writeLog("Exapnded");
  writeLog("Merging");
  PixelMapping mapping;
  if (canvas) {
    mapping.fromX = -canvas->left;
    mapping.fromY = -canvas->top;
  }
  result.map = derivedCalibration(maps.sides.a, mapping, result.image.width(), result.image.height());
  result.map.imagePath = "$merge$";
  runWork("Merging", [&] {
    mergePixels({result.map, maps.sides.b}, result.image, maps.merge, t, threads, maps.mergeOpacity);
  });
  writeLog("Merged");
  return result;
}

bool mergeMaps() {
  if (driver.calibrationPending &&
      !askOkCancel("Calibrations not written : OK to abandon them else cancel", "Not written")) {
    return false;
  }
  OpenMapKeeper openMap;
  std::optional<MergeMaps> maps = openMergeMaps();
  if (!maps) return false;
  Dialog dialog(*maps);
  dialog.run();
  if (dialog.anythingSaved()) openMap.keepNew();
  return dialog.anythingSaved();
}

}  // namespace vellandra

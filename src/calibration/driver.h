#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "calibration/format_row.h"
#include "calibration/reference_pair.h"

namespace vellandra {

/// What the caller of `do_it` wants done.
enum Stage : std::int16_t {
  openCalibration = 1,    ///< ask for a file, read, convert and fit
  writeCalibrations = 2,  ///< write every output of the current calibration
  recalculate = 3,        ///< convert and fit the current points again
  afterImage = 4,         ///< as 1, from the image's size on
  batch = 9,              ///< as 1 with `inputPath` given, then write every output
};

/// Kept between runs of the driver.
struct Driver {
  std::int16_t stage = 0;
  std::string pickerTitle = "Open calibration file for map";  ///< of the dialog that asks for a calibration
  std::string offeredPath;  ///< a calibration chosen beforehand: the next stage 1 takes it and does not ask
  std::string inputPath, inputFolder, inputBase;
  const FormatRow* inputFormat = nullptr;  ///< of the file that the points came from; null when they belong to no file
  bool inputIsWindows1252 = false;         ///< the input's text is not UTF-8: names are written back in its encoding
  ReferencePair referencePair;
  double metresPerPixel = 0;
  WorldFileTerms worldFile;
  /// Of the run that writes, in the order of the writers: what was written, and what the person keeps as it was.
  std::vector<std::string> writtenFiles, keptFiles;
  bool transformValid = false;      ///< the coefficients belong to the current points
  bool calibrationPending = false;  ///< a calibration has been read or built and not yet written

  /// The pair that the format of the input settles beforehand.
  std::optional<ReferencePair> fixedPair() const {
    return inputFormat == nullptr ? std::nullopt : inputFormat->fixedPair;
  }
};
extern Driver driver;

/// Takes `path` apart into the driver's folder and base name.
void splitInputPath(const std::string& path);

/// Tells the window which commands can be used now.
void updateMenuStates();

/// The conversion driver: every calibration passes through here. Reads `driver.stage`; its results are `calibration`,
/// the log, the panel and the written files. False when the run stopped; the person has then been told why.
bool do_it();

}  // namespace vellandra

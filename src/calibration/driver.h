#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

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

/// What a reader found beside the points that it put into `calibration`.
struct ReadResult {
  int datumIndex = 0;    ///< of the input datum in the datum table; 0 when it is not there
  bool stopped = false;  ///< the person has been told why there is no calibration
  int calVariant = -1;   ///< of a ".cal" file: 1 to 3, 0 when not recognised
};

enum class WriteOutcome {
  written,
  skipped,   ///< nothing to write for this input
  declined,  ///< the person keeps the file that is there
  failed,    ///< told to the person; the run stops
};

/// A calibration format that is read: the last three characters of the path, lower case, and the type they give.
struct ReaderRow {
  const char* extension;
  const char* type;
  ReadResult (*read)(const std::string& path);
};

/// The moments at which writers run, in this order.
enum class WriterMoment {
  worldFile,    ///< before points are added
  threePoints,  ///< with at least three points
  fourPoints,   ///< with at least four points
  last,
};

struct WriterRow {
  WriterMoment moment;
  const char* notForType;  ///< input type for which this writer is passed over; empty for none
  WriteOutcome (*write)();
};

/// The formats, and the two services of other folders that the driver needs.
struct FormatTable {
  std::span<const ReaderRow> readers;
  std::span<const WriterRow> writers;
  /// Finds the image that belongs to a calibration and settles its size: path, width, height in and out.
  void (*identifyImage)(std::string& path, std::int16_t& width, std::int16_t& height) = nullptr;
  /// Saves the image that came from the clipboard as PNG; false on failure.
  bool (*saveClipboardImage)(const std::string& path) = nullptr;
};
/// To be called before anything is read or written. From then on no link leads a write to the open map's input or
/// image.
void setFormatTable(const FormatTable& table);

/// Kept between runs of the driver.
struct Driver {
  std::int16_t stage = 0;
  std::string pickerTitle = "Open calibration file for map";  ///< of the dialog that asks for a calibration
  std::string offeredPath;  ///< a calibration chosen beforehand: the next stage 1 takes it and does not ask
  std::string inputPath, inputFolder, inputBase;
  std::string inputExtension;       ///< last three characters of the path, lower case
  std::string inputType;            ///< as `ReaderRow::type`; "zzz" after a change in the viewer
  bool inputIsWindows1252 = false;  ///< the input's text is not UTF-8: names are written back in its encoding
  ReferencePair referencePair;
  double metresPerPixel = 0;
  WorldFileTerms worldFile;
  /// Of the run that writes, in the order of the writers: what was written, and what the person keeps as it was.
  std::vector<std::string> writtenFiles, keptFiles;
  bool transformValid = false;                                 ///< the coefficients belong to the current points
  std::string whyNotValid = "Insufficient points to proceed";  ///< what a write is told while they do not
  bool calibrationPending = false;  ///< a calibration has been read or built and not yet written
};
extern Driver driver;

/// Takes `path` apart into the driver's folder, base name and extension.
void splitInputPath(const std::string& path);

/// Tells the window which commands can be used now.
void updateMenuStates();

/// The conversion driver: every calibration passes through here. Reads `driver.stage`; its results are `calibration`,
/// the log, the panel and the written files. False when the run stopped; the person has then been told why.
bool do_it();

}  // namespace vellandra

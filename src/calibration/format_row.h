#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "calibration/reference_pair.h"

namespace vellandra {

/// What a reader found beside the points that it put into `calibration`.
struct ReadResult {
  int datumIndex = 0;    ///< of the input datum in the datum table; 0 when it is not there
  bool stopped = false;  ///< the person has been told why there is no calibration
  /// For points that lie at the edges of the image: to be called once its size is known.
  void (*placePixels)() = nullptr;
};

enum class WriteOutcome {
  written,
  skipped,   ///< nothing to write for this input
  declined,  ///< the person keeps the file that is there
  failed,    ///< told to the person; the run stops
};

/// The moments at which writers run, in this order.
enum class WriterMoment {
  worldFile,    ///< before points are added
  threePoints,  ///< with at least three points
  fourPoints,   ///< with at least four points
  last,
};

/// An ending of the files that a format is read from.
struct Ending {
  const char* extension;  ///< the last three characters of the path, lower case
  const char* caption;    ///< in the picker of calibrations
  int place;              ///< in the picker's list, counted from 1
  bool isShared = false;  ///< files of another kind have it as well
};

/// A calibration format: all that is known of it outside its unit.
struct FormatRow {
  std::vector<Ending> endings = {};  ///< none when the format is only written

  /// Reads a file into `calibration`; null when the format is only written.
  ReadResult (*read)(const std::string& path) = nullptr;
  bool isText = true;
  bool settlesImage = false;  ///< the reader needs the image's size and looks for the image itself
  bool keepsCorners = false;  ///< corners that the file gives are written as they are, not those of the image
  std::optional<ReferencePair> fixedPair = {};  ///< taken without a search when there are so many points

  /// Writes `calibration` under `stem`, folder and base name, with the format's own ending; null when the format is
  /// only read.
  WriteOutcome (*write)(const std::string& stem) = nullptr;
  WriterMoment moment = WriterMoment::last;
  /// An input of the same format is left alone, but for this: when it was on another datum and the preference
  /// "writewgs84" is on, the format is written under the base name with "wgs84" added.
  bool rewritesInput = false;
};

/// The formats, and the two services of other folders that the driver needs.
struct FormatTable {
  std::span<const FormatRow> rows = {};  ///< writers of one moment run in this order
  /// Finds the image that belongs to a calibration and settles its size: path, width, height in and out.
  void (*identifyImage)(std::string& path, std::int16_t& width, std::int16_t& height) = nullptr;
  /// Saves the image that came from the clipboard as PNG; false on failure.
  bool (*saveClipboardImage)(const std::string& path) = nullptr;
};
void setFormatTable(const FormatTable& table);
const FormatTable& formatTable();

/// The format that a file of this path is read as, by its ending; null for none.
const FormatRow* formatOf(const std::string& path);

/// All endings of calibrations that are read, in the order of the rows.
std::vector<Ending> inputEndings();

}  // namespace vellandra

#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "sequence.h"

namespace vellandra {

/// Puts arbitrary bytes through the program as a person would: as a calibration in a folder of its own with a few
/// images, converted by the same driver, readers and writers as always.
///
/// What stands behind the last two bytes 1A 1A of an input is not part of the file. The first byte there holds options,
/// every further one answers a question, in the order in which they are asked; with none left the person says OK, takes
/// the first datum, zone 30 and the image at hand. So the fuzzer can steer the person, and a reproducer is one file.
///
/// One harness at a time: it resets and uses the program's state.
class Harness {
 public:
  /// `kind` is an extension that is read, "datums" for a datum table, "ini" for a preferences file or "images" for an
  /// image of any type, which is loaded whole as it is, "positions" and "gpx" for texts, see `checkPosition` and
  /// `checkGpx`, or "sequences" for commands, see `Sequences`. Throws
  /// std::system_error when the folder cannot be made: in TMPDIR, else in memory where the system has such a disk.
  explicit Harness(std::string kind);
  Harness(const Harness&) = delete;
  Harness& operator=(const Harness&) = delete;
  ~Harness();

  struct Verdict {
    bool converted = false;  ///< the command ended well, or the image was loaded
    std::string fault;       ///< what must not happen, whatever the input; empty when all is well
  };
  /// With `writes` off the calibration is only opened, which takes half the time.
  Verdict run(std::string_view input, bool writes = true);

 private:
  Verdict runSequence(std::string_view input);
  Verdict runText(std::string_view input);
  Verdict runImage(std::string_view input);
  std::string place(std::string_view input, std::string& fault);
  std::string checkResult() const;
  std::string clearFolder();

  std::string kind_, root_, folder_, home_;
  std::string outerHome_;
  std::optional<Sequences> sequences_;
};

}  // namespace vellandra

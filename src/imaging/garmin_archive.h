#pragma once

#include <string>

namespace vellandra {

/// The ".kmz" that 7-Zip packs the tiles of a Garmin Custom Map into. 7-Zip would add to an archive of an earlier run,
/// so that one has another name while 7-Zip works, and gets its own back when 7-Zip fails.
class GarminArchive {
 public:
  /// Where `path` is a link, it stays, and the archive is what it leads to.
  explicit GarminArchive(std::string path);

  /// Whether 7-Zip, started by this program, is at work on it.
  bool isBeingPacked() const;

  /// Gives the archive of an earlier run its name back where the program ended before 7-Zip had failed.
  void recover() const;

  /// Starts 7-Zip on the document `kml` and the folder `images`, and does not wait for it. False, with the person told,
  /// when it cannot be started.
  bool pack(const std::string& kml, const std::string& images) const;

  /// Tells that the archive, if there is one, is not of this run.
  void noteNotOfThisRun() const;

 private:
  std::string path_;  ///< as it is shown
  std::string file_;  ///< absolute, as 7-Zip takes some names for switches or lists of files
};

/// Tells on the panel which archives 7-Zip has failed to pack since the last call.
void notePackingFaults();

}  // namespace vellandra

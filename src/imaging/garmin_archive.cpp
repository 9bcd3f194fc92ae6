#include "imaging/garmin_archive.h"

#include <filesystem>
#include <memory>
#include <mutex>
#include <set>
#include <system_error>
#include <utility>
#include <vector>

#include "calibration/messages.h"
#include "calibration/preferences.h"
#include "imaging/tile_files.h"
#include "support/paths.h"
#include "support/process.h"

namespace vellandra {
namespace {

namespace fs = std::filesystem;

/// What 7-Zip does meanwhile. Its end is noticed on a thread of its own, where nothing is told to the person.
struct Packings {
  std::mutex mutex;
  std::set<std::string> running;    ///< archives
  std::vector<std::string> faults;  ///< to be told
};

/// Never destroyed: 7-Zip may end while this program does.
Packings& packings() {
  static auto* const all = std::make_unique<Packings>().release();
  return *all;
}

bool isFile(const std::string& path) {
  std::error_code error;
  return fs::is_regular_file(path, error);
}

std::string asidePath(const std::string& path) {
  return path + ".vellandra-old";
}

/// False when it is there and cannot be renamed.
bool rename(const std::string& from, const std::string& to) {
  std::error_code error;
  if (isFile(from)) fs::rename(from, to, error);
  return !error;
}

std::string notOfThisRun(const std::string& path) {
  return path + " is the archive of an earlier run, without the new tiles";
}

std::string faultOf(const std::string& path) {
  if (isFile(asidePath(path)) && rename(asidePath(path), path)) return "7-Zip failed: " + notOfThisRun(path);
  if (isFile(asidePath(path))) return "7-Zip failed: the archive of an earlier run is now " + asidePath(path);
  return "7-Zip failed: " + path + (isFile(path) ? " may lack tiles" : " was not made");
}

void packed(const std::string& path, bool succeeded) {
  std::error_code error;
  if (succeeded) fs::remove(asidePath(path), error);
  const std::string fault = succeeded ? "" : faultOf(path);
  const std::scoped_lock lock(packings().mutex);
  packings().running.erase(path);
  if (!fault.empty()) packings().faults.push_back(fault);
}

}  // namespace

GarminArchive::GarminArchive(std::string path) : path_(std::move(path)), file_(absolutePath(path_)) {
  std::error_code error;
  const fs::path target = fs::read_symlink(file_, error);
  if (!error) file_ = (fs::path(file_).parent_path() / target).string();
}

bool GarminArchive::isBeingPacked() const {
  const std::scoped_lock lock(packings().mutex);
  return packings().running.contains(file_);
}

void GarminArchive::recover() const {
  if (fs::exists(fs::symlink_status(file_)) || !isFile(asidePath(file_)) || !rename(asidePath(file_), file_)) return;
  showMessage("7-Zip was not seen to end: " + notOfThisRun(path_));
}

bool GarminArchive::pack(const std::string& kml, const std::string& images) const {
  // Without the blank behind the archive's name, which would become part of it here.
  const std::string& archive = file_;
  std::vector<std::string> command = {
      findFile(preferences.sevenZipPath), "a", "-tzip", "-mx0", archive, absolutePath(kml), absolutePath(images)};
  std::string shown =
      "\"" + preferences.sevenZipPath + "\" a -tzip -mx0 \"" + path_ + " \" \"" + kml + "\" \"" + images + "\"";
  // In a pattern, files of other maps would be packed, too.
  if (archive.find_first_of("*?") != std::string::npos) {
    command.emplace_back("-spd");
    shown += " -spd";
  }
  showMessage(shown);
  if (!rename(archive, asidePath(archive))) return stopTiles("unable to write " + path_);
  {
    const std::scoped_lock lock(packings().mutex);
    packings().running.insert(archive);
  }
  const auto whenEnded = [archive = file_](bool succeeded) { packed(archive, succeeded); };
  if (!command[0].empty() && startProgram(command, whenEnded)) return true;
  {
    const std::scoped_lock lock(packings().mutex);
    packings().running.erase(archive);
  }
  rename(asidePath(archive), archive);
  return stopTiles("Call to 7-Zip failed");
}

void GarminArchive::noteNotOfThisRun() const {
  if (isFile(path_)) showMessage(notOfThisRun(path_));
}

void notePackingFaults() {
  std::vector<std::string> faults;
  {
    const std::scoped_lock lock(packings().mutex);
    faults.swap(packings().faults);
  }
  for (const std::string& fault : faults) showMessage(fault);
}

}  // namespace vellandra

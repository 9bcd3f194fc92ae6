#include "sequence.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>
#include <sstream>
#include <utility>
#include <vector>

#include "calibration/calibration.h"
#include "calibration/datum_matching.h"
#include "calibration/driver.h"
#include "calibration/preferences.h"
#include "calibration/session.h"
#include "imaging/map_image.h"
#include "imaging/merge.h"
#include "imaging/rescale_crop.h"
#include "program.h"
#include "raster/bitmap.h"
#include "raster/image_header.h"
#include "sequence_person.h"
#include "support/files.h"
#include "support/numbers.h"
#include "support/user_interface.h"
#include "ui/commands.h"

namespace vellandra {
namespace {

namespace fs = std::filesystem;

constexpr int mostCommands = 12;

/// Three maps that meet: one upright, one turned, one in Mercator projection.
const std::string head =
    "OziExplorer Map Data File Version 2.2\r\nx\r\nx\r\n1 ,Map Code,\r\nWGS 84,,,,\r\n\r\n\r\n\r\nMap Projection,";
const std::array<std::pair<std::string, std::string>, 3> maps = {
    {{"area", head + "Latitude/Longitude\r\nPoint01,xy,0,0,in,deg,51,30,N,1,0,W\r\n"
                     "Point02,xy,23,0,in,deg,51,30,N,0,37,W\r\nPoint03,xy,0,17,in,deg,51,13,N,1,0,W\r\n"},
     {"turned", head + "Latitude/Longitude\r\nPoint01,xy,0,0,in,deg,51,20,N,0,50,W\r\n"
                       "Point02,xy,19,5,in,deg,51,20,N,0,31,W\r\nPoint03,xy,2,21,in,deg,51,0,N,0,53,W\r\n"
                       "Point04,xy,18,22,in,deg,51,3,N,0,36,W\r\n"},
     {"mercator", head + "Mercator\r\nPoint01,xy,1,1,in,deg,52,0,N,1,20,W\r\n"
                         "Point02,xy,30,14,in,deg,51,0,N,0,10,E\r\n"}}};
const std::string gux =
    "[Map]\r\nBitmap=area.png\r\nDatum=European 1950\r\n[Points]\r\nP1=DEG N51.5 W1.0 0 0\r\nP2=DEG N51.5 W0.6 23 0\r\n"
    "P3=DEG N51.2 W1.0 0 17\r\n";

std::string pointsOf(const Calibration& map) {
  std::string text;
  for (int i = 1; i <= map.pointCount && i < firstCornerSlot; ++i) {
    const CalibrationPoint& point = map.points[i];
    text += std::to_string(point.pixelX) + " " + std::to_string(point.pixelY) + " " + formatGeneral(point.latitude) +
            " " + formatGeneral(point.longitude) + "\n";
  }
  return text;
}

/// The open map as a command leaves it that works on another, or does not come to its end.
std::string openMap() {
  const Calibration& c = calibration;
  std::ostringstream text;
  text << c.imagePath << " " << c.imageWidth << " " << c.imageHeight << " " << c.projection << "\n" << pointsOf(c);
  text.precision(17);
  for (const double term : {c.tf1, c.tf2, c.tf3, c.tf4, c.x0, c.y0}) text << term << " ";
  text << driver.inputPath << " " << driver.transformValid << " " << driver.calibrationPending << " " << inputDatumName;
  return text.str();
}

std::string contentOfAny(const std::string& path) {
  return fs::is_regular_file(path) ? TextFile(path).content() : "";
}

/// Every file in `folder` and below, with its content.
std::map<std::string, std::string> filesIn(const std::string& folder) {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.is_regular_file()) files[entry.path().string()] = TextFile(entry.path().string()).content();
  }
  return files;
}

/// An image of a size that its header and its pixels agree on.
bool isWholeImage(const std::string& path) {
  const std::optional<ImageSize> size = imageSize(path);
  const Bitmap image = LoadImageByExtension(path);
  return size && image.width() == size->width && image.height() == size->height;
}

class Sequence {
 public:
  Sequence(std::string_view input, const Files& files) : bytes_(input), files_(files), person_(bytes_, files) {}

  std::string run(bool& went) {
    for (int count = 0; count < mostCommands && !bytes_.empty() && fault_.empty(); ++count) went |= step();
    return fault_;
  }

 private:
  enum class Changes { openMap, files, nothing };  ///< what a command may change when it does not come to its end

  bool step() {
    const auto viewer = [this](ViewerMode mode) { return person_.view(mode); };
    switch (bytes_.next(16)) {
      case 0:
      case 1:
        return run(Changes::openMap, [this] { return mnufo(files_.oneOf(bytes_, files_.calibrations)); });
      case 2:
        return run(Changes::openMap, [&] { return mnulm(viewer); });
      case 3:
        return run(Changes::openMap, [&] { return mnulic(viewer); });
      case 4:
      case 5:
        return run(Changes::openMap, [&] { return mnuvc(viewer); });
      case 6:
        return run(Changes::files, mnuwc);
      case 7:
        return tiles(mnuwmt, "set", ".png");
      case 8:
        return tiles(mwgcm, "files", ".jpg");
      case 9:
        return derived(mergeMaps, true);
      case 10:
        return derived(rescaleMap, false);
      case 11:
        return derived(cropMap, false);
      case 12:
        return changePreferences();
      case 13:
        driver.stage = batch;
        driver.inputPath = files_.oneOf(bytes_, files_.calibrations);
        return run(Changes::openMap, do_it);
      default:
        return damage();
    }
  }

  /// A command that `opens` another map at its end may put it in the place of the one before, when the person agrees.
  bool run(Changes changes, const std::function<bool()>& command, bool opens = false) {
    const std::string before = openMap(), image = calibration.imagePath;
    const std::string imageContent = contentOfAny(image);
    const std::map<std::string, std::string> files =
        changes == Changes::nothing ? filesIn(files_.folder) : std::map<std::string, std::string>();
    const bool done = runGuarded(fault_, command);
    if (!fault_.empty()) return done;
    if (changes != Changes::openMap && !done && openMap() != before) {
      fault_ = "a command that did not come to its end changed the open map:\n" + before + "\n" + openMap();
    }
    if (changes == Changes::nothing && !done && filesIn(files_.folder) != files)
      fault_ = "a failing command changed files";
    const bool keepsImage = image != clipboardImage && !(opens && done);
    if (keepsImage && contentOfAny(image) != imageContent) fault_ = "the open map's image was changed";
    return done;
  }

  bool tiles(const std::function<bool()>& command, const std::string& subfolder, const std::string& ending) {
    const std::string before = openMap();
    const bool done = run(Changes::files, command);
    if (!done || !fault_.empty()) return done;
    if (openMap() != before) fault_ = "writing tiles changed the open map";
    const fs::path image = calibration.imagePath;
    const fs::path folder = image.parent_path() / (image.stem().string() + "_tiles");
    const std::string list =
        contentOfAny(ending == ".png" ? folder / (image.stem().string() + ".set") : folder / "doc.kml");
    std::size_t count = 0;
    for (const auto& tile : fs::directory_iterator(folder / subfolder)) {
      ++count;
      if (list.find(tile.path().filename().string()) == std::string::npos)
        fault_ = "a tile of no run: " + tile.path().string();
      if (!isWholeImage(tile.path().string())) fault_ = "a tile that is not whole: " + tile.path().string();
    }
    std::size_t named = 0;
    for (std::size_t at = list.find(ending); at != std::string::npos; at = list.find(ending, at + 1)) ++named;
    if (named != count) fault_ = "a tile that is named and not there";
    return done;
  }

  /// A command that saves a map made from others, and `opens` it.
  bool derived(const std::function<bool()>& command, bool opens) {
    const std::string before = openMap();
    const bool done = run(Changes::nothing, command, opens);
    if (done && !opens && openMap() != before) fault_ = "saving a copy changed the open map";
    for (const char* name : {"saved", "other"}) {
      const std::string path = files_.folder + name + ".png";
      if (done && fileExists(path) && !isWholeImage(path)) fault_ = "a saved image that is not whole";
      if (fileExists(path) != fileExists(files_.folder + name + ".map"))
        fault_ = "a saved image without its calibration";
    }
    return done;
  }

  bool changePreferences() {
    constexpr std::array<const char*, 5> sides{"8", "13", "40", "0", "x"};
    PreferencesForm form{bytes_.next(2) != 0,
                         bytes_.next(2) != 0,
                         bytes_.next(2) != 0,
                         bytes_.oneOf(sides),
                         bytes_.oneOf(sides),
                         true,
                         bytes_.next(2) != 0,
                         bytes_.next(2) != 0,
                         "7",
                         "3",
                         1,
                         bytes_.next(2) != 0};
    return run(Changes::files, [&form] {
      storePreferences(form);
      const Preferences stored = preferences;
      if (!writePreferences()) return false;
      readPreferences();
      preferences.datumsPath = stored.datumsPath;  // kept in lower case
      if (preferences == stored) return true;
      throw std::logic_error("preferences change when they are written and read");
    });
  }

  /// Bytes of a file are changed, or it ends early, or another takes its place.
  bool damage() {
    const std::string path = files_.folder + bytes_.oneOf(files_.all);
    std::string content = contentOfAny(path);
    const std::string before = content;
    if (content.empty()) return false;
    const auto place = static_cast<std::size_t>(bytes_.next() * 256 + bytes_.next()) % content.size();
    switch (bytes_.next(4)) {
      case 0:
        content.resize(place);
        break;
      case 1:
        content = contentOfAny(files_.folder + bytes_.oneOf(files_.all));
        break;
      default:
        content[place] = static_cast<char>(bytes_.next());
    }
    putFile(path, content);
    const std::optional<ImageSize> size = imageSize(path);
    if (size && size->width * size->height > mostPixels) putFile(path, before);
    return false;
  }

  Bytes bytes_;
  const Files& files_;
  Person person_;
  std::string fault_;
};

/// What comes of opening `path` and writing its calibrations: the open map and the written files.
std::string opened(const std::string& path, std::string& fault) {
  driver.offeredPath = path;
  driver.stage = openCalibration;
  std::string outcome = runGuarded(fault, do_it) ? openMap() : "stopped";
  driver.stage = writeCalibrations;
  if (outcome == "stopped" || !runGuarded(fault, do_it)) return outcome;
  for (const std::string& file : driver.writtenFiles) outcome += "\n" + file + "\n" + contentOfAny(file);
  return outcome;
}

}  // namespace

Sequences::Sequences(std::string folder, std::string datumsPath)
    : folder_(std::move(folder)), datumsPath_(std::move(datumsPath)) {
  Bytes none("");
  const Files files(folder_, {});
  const Person person(none, files);
  int width = 24, height = 18;
  for (const auto& [name, text] : maps) {
    Bitmap image = allocate24Bits(width, height);
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        SetPixelColor(image, x, y, {static_cast<std::uint8_t>(x * y), static_cast<std::uint8_t>(10 * x), 99, 0});
      }
    }
    SaveImage(name == "turned" ? ImageFormat::jpeg : ImageFormat::png, image,
              folder_ + name + (name == "turned" ? ".jpg" : ".png"));
    putFile(folder_ + name + ".map", text);
    resetProgram(datumsPath_);
    runBatch(folder_ + name + ".map");
    width += 5, height += 3;
  }
  putFile(folder_ + "area.gux", gux);
  for (const auto& [path, content] : filesIn(folder_)) files_[fs::path(path).filename().string()] = content;
}

std::string Sequences::run(std::string_view input, bool& went) const {
  for (const auto& [name, content] : files_) putFile(folder_ + name, content);
  const Files files(folder_, files_);
  resetProgram(datumsPath_);
  preferences.tileWidth = preferences.tileHeight = 13;
  std::string fault = Sequence(input, files).run(went);
  // The next map sees nothing of the ones before; that takes long enough to be asked of every fourth input only.
  if (!fault.empty() || input.empty() || input.back() % 4 != 0) return fault;
  const std::string next = folder_ + files.calibrations[input.size() % files.calibrations.size()];
  const Preferences kept = preferences;
  driver.calibrationPending = false;
  Bytes none("");
  const Person person(none, files);
  const std::string here = opened(next, fault);
  resetProgram(datumsPath_);
  preferences = kept;
  const std::string inNewProgram = opened(next, fault);
  if (fault.empty() && here != inNewProgram)
    fault = "opens otherwise than in a new program:\n" + here + "\n" + inNewProgram;
  return fault;
}

}  // namespace vellandra

#include "harness.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <functional>
#include <system_error>

#include "calibration/calibration.h"
#include "calibration/datum_matching.h"
#include "calibration/driver.h"
#include "calibration/preferences.h"
#include "formats/format_table.h"
#include "formats/image_identification.h"
#include "geodesy/datum.h"
#include "gpx_check.h"
#include "image_check.h"
#include "imaging/map_image.h"
#include "position_check.h"
#include "program.h"
#include "raster/bitmap.h"
#include "support/files.h"
#include "support/numbers.h"
#include "support/user_interface.h"

namespace vellandra {
namespace {

namespace fs = std::filesystem;

/// Bits of an input's option byte.
enum Option : unsigned {
  overwriteUnasked = 1,
  stretchNotRotate = 2,
  writeWgs84 = 4,
  writeTwice = 8,   ///< the second time over the files of the first
  byCommands = 16,  ///< open, calculate again and write, as from the menu, instead of batch
};

constexpr char answersMark = '\x1A';

/// Cuts off what stands behind the last two marks.
std::string_view takeAnswers(std::string_view& input) {
  for (std::size_t i = input.size(); i >= 2; --i) {
    if (input[i - 1] != answersMark || input[i - 2] != answersMark) continue;
    const std::string_view answers = input.substr(i);
    input = input.substr(0, i - 2);
    return answers;
  }
  return {};
}

/// A few rows instead of the whole table, which would take most of the time of a run.
constexpr std::string_view datums =
    "M E WGS 84               WGS_84                    0.0000  0.000000000000000      0.00      0.00      0.00\r\n"
    "M E European 1950        International_1924     -251.0000 -0.000014192679494    -87.00    -98.00   -121.00\r\n"
    "M E Ord Srvy Grt Britn   Airy_1830               573.6040  0.000011960046012    375.00   -111.00    431.00\r\n"
    "M E Ireland 1965         Modified_Airy           796.8110  0.000011960046012    506.00   -122.00    611.00\r\n"
    "M E Tokyo                Bessel_1841             739.8450  0.000010037505335   -128.00    481.00    664.00\r\n";

/// What is converted when the input is not the calibration itself.
constexpr std::string_view plainMap =
    "OziExplorer Map Data File Version 2.2\r\narea.png\r\narea.png\r\n1 ,Map Code,\r\nLOCAL,,,,\r\n\r\n\r\n\r\n"
    "Map Projection,Latitude/Longitude\r\n"
    "Point01,xy,0,0,in,deg,51,30,N,1,0,W\r\nPoint02,xy,63,0,in,deg,51,30,N,0,30,W\r\n"
    "Point03,xy,0,47,in,deg,51,0,N,1,0,W\r\n";

/// The images beside the input: one that fits, one without an area, one past 16 bits, one that is none.
const std::array<std::string, 4> images = {"area.png", "dot.bmp", "wide.gif", "broken.png"};

std::string temporaryFolder() {
  if (const char* given = std::getenv("TMPDIR"); given != nullptr && *given != '\0') return given;
  return ::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
}

class Person : public UserInterface {
 public:
  Person(std::string_view answers, std::string folder) : answers_(answers), folder_(std::move(folder)) {
    setUserInterface(*this);
  }

  Answer messageBox(const MessageBox& box) override {
    if (box.buttons == Buttons::ok) return Answer::ok;
    const bool agrees = next() % 2 == 0;
    if (box.buttons == Buttons::yesNo) return agrees ? Answer::yes : Answer::no;
    return agrees ? Answer::ok : Answer::cancel;
  }

  std::string askOpenFile(const FilePicker& picker) override {
    if (picker.defaultName == "*.map") return driver.inputPath;
    const std::size_t choice = next() % (images.size() + 1);
    return choice < images.size() ? folder_ + images[choice] : "";
  }
  std::string askSaveFile(const FilePicker&) override { return next() % 2 == 0 ? folder_ + "area-saved.png" : ""; }

  int chooseDatum(const std::string&, const std::vector<std::string>& names) override {
    return answers_.empty() ? 1 : next() % (static_cast<int>(names.size()) + 1);
  }

  WorldFileAnswer askWorldFile(const std::string&, const std::vector<std::string>&) override {
    if (answers_.empty()) return {WorldFileAnswer::Datum::wgs84, 30, false};
    WorldFileAnswer answer;
    const unsigned choice = next();
    answer.datum = static_cast<WorldFileAnswer::Datum>(choice % 3);
    answer.southern = choice >= 128;
    answer.zone = next();
    return answer;
  }

  void askGarminTiles(TileControls&) override {}
  std::optional<std::string> askText(const std::string&, const std::string&) override { return std::nullopt; }

  void showPanel(const std::string&) override {}
  void showBusy(bool) override {}
  void setMenuStates(const MenuStates&) override {}

 private:
  std::uint8_t next() {
    if (answers_.empty()) return 0;
    const auto answer = static_cast<std::uint8_t>(answers_.front());
    answers_.remove_prefix(1);
    return answer;
  }

  std::string_view answers_;
  std::string folder_;
};

bool runStage(std::string& fault, Stage stage) {
  driver.stage = stage;
  return runGuarded(fault, do_it);
}

bool convert(std::string& fault, unsigned options, bool writes) {
  if ((options & byCommands) == 0) return runStage(fault, writes ? batch : openCalibration);
  return runStage(fault, openCalibration) && runStage(fault, recalculate) &&
         (!writes || runStage(fault, writeCalibrations));
}

void startProgram(const std::string& datumsPath, unsigned options) {
  resetProgram(datumsPath);
  preferences.warnOverwrite = (options & overwriteUnasked) == 0;
  preferences.stretchNotRotate = (options & stretchNotRotate) != 0;
  preferences.writeWgs84 = (options & writeWgs84) != 0;
}

/// Preferences that were read and written must read back as the same ones.
std::string checkPreferences(const std::string& path) {
  std::string fault;
  std::array<std::string, 3> written;
  runGuarded(fault, [&] {
    for (std::string& content : written) {
      readPreferences();
      if (!writePreferences()) return false;
      content = TextFile(path).content();
    }
    return true;
  });
  // The first reading may turn the default paths into lower case.
  if (fault.empty() && written[1] != written[2]) fault = "preferences change when they are written and read";
  return fault;
}

bool coefficientsAreFinite() {
  const Calibration& c = calibration;
  const std::array<double, 6> terms = {c.tf1, c.tf2, c.tf3, c.tf4, c.x0, c.y0};
  return std::ranges::all_of(terms, [](double term) { return std::isfinite(term); });
}

std::string pointText(const Calibration& c, int i) {
  return std::to_string(c.points[i].pixelX) + " " + std::to_string(c.points[i].pixelY) + " " +
         formatGeneral(c.points[i].latitude) + " " + formatGeneral(c.points[i].longitude);
}

}  // namespace

Harness::Harness(std::string kind) : kind_(std::move(kind)) {
  std::string pattern = temporaryFolder() + "/vellandra-fuzz-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) throw std::system_error(errno, std::generic_category(), pattern);
  root_ = pattern + "/";
  folder_ = root_ + "maps/";
  home_ = root_ + "home/";
  fs::create_directory(folder_);
  fs::create_directory(home_);
  putFile(home_ + "datums.txt", datums);
  if (const char* home = std::getenv("VELLANDRA_HOME"); home != nullptr) outerHome_ = home;
  ::setenv("VELLANDRA_HOME", home_.c_str(), 1);
  setFormatTable({formatRows(), getidata, saveMapImage});
  if (kind_ == "sequences") {
    sequences_.emplace(folder_, home_ + "datums.txt");
    return;
  }
  if (kind_ == "positions") {
    resetProgram(home_ + "datums.txt");
    LoadDatums();
  }
  SaveImage(ImageFormat::png, allocate24Bits(64, 48), folder_ + images[0]);
  SaveImage(ImageFormat::bmp, allocate24Bits(1, 1), folder_ + images[1]);
  using namespace std::string_view_literals;
  putFile(folder_ + images[2], "GIF89a\xFF\xFF\x01\0\0\0\0,\0\0\0\0\xFF\xFF\x01\0\0\x02\x02\x44\x01\0;"sv);
  putFile(folder_ + images[3], "\x89PNG\r\n\x1A\n");
}

Harness::~Harness() {
  ::setenv("VELLANDRA_HOME", outerHome_.c_str(), 1);
  std::error_code ignored;
  fs::remove_all(root_, ignored);
}

Harness::Verdict Harness::run(std::string_view input, bool writes) {
  if (kind_ == "images") return runImage(input);
  if (kind_ == "gpx" || kind_ == "positions") return runText(input);
  if (sequences_) return runSequence(input);
  std::string_view answers = takeAnswers(input);
  const unsigned options = answers.empty() ? 0U : static_cast<std::uint8_t>(answers.front());
  if (!answers.empty()) answers.remove_prefix(1);
  Person person(answers, folder_);
  startProgram(home_ + "datums.txt", options);

  Verdict verdict;
  const std::string path = place(input, verdict.fault);
  const std::string placed = TextFile(path).content();
  for (int times = writes && (options & writeTwice) != 0 ? 2 : 1; times > 0 && verdict.fault.empty(); --times) {
    driver.inputPath = path;
    verdict.converted = convert(verdict.fault, options, writes);
    if (verdict.converted) verdict.fault = checkResult();
  }
  if (verdict.fault.empty() && TextFile(path).content() != placed) verdict.fault = "the input was changed";
  const std::string left = clearFolder();
  if (verdict.fault.empty()) verdict.fault = left;
  return verdict;
}

Harness::Verdict Harness::runImage(std::string_view input) {
  const Person person({}, folder_);
  startProgram(home_ + "datums.txt", 0);
  Verdict verdict;
  verdict.fault = checkImage(input, folder_, verdict.converted);
  const std::string left = clearFolder();
  if (verdict.fault.empty()) verdict.fault = left;
  return verdict;
}

/// What the program reads and nothing is written of.
Harness::Verdict Harness::runText(std::string_view input) {
  Verdict verdict;
  const std::string_view answers = kind_ == "positions" ? takeAnswers(input) : std::string_view();
  try {
    verdict.fault =
        kind_ == "gpx" ? checkGpx(input, verdict.converted) : checkPosition(input, answers, verdict.converted);
  } catch (const std::exception& error) {
    verdict.fault = std::string("unexpected exception: ") + error.what();
  }
  return verdict;
}

Harness::Verdict Harness::runSequence(std::string_view input) {
  Verdict verdict;
  verdict.fault = sequences_->run(input, verdict.converted);
  for (const fs::directory_entry& entry : fs::directory_iterator(folder_)) {
    const std::string name = entry.path().filename().string();
    if (verdict.fault.empty() && (name.starts_with(".") || name.ends_with("-part")))
      verdict.fault = "left behind: " + name;
    fs::remove_all(entry.path());
  }
  return verdict;
}

/// Puts the input in its place; returns the path of the calibration to convert.
std::string Harness::place(std::string_view input, std::string& fault) {
  const bool isCalibration = kind_ != "datums" && kind_ != "ini";
  const std::string path = folder_ + "area." + (isCalibration ? kind_ : "map");
  putFile(path, isCalibration ? input : plainMap);
  if (kind_ == "datums") {
    preferences.datumsPath = home_ + "input.txt";
    putFile(preferences.datumsPath, input);
  } else if (kind_ == "ini") {
    putFile(home_ + "calconv.ini", input);
    fault = checkPreferences(home_ + "calconv.ini");
    preferences.datumsPath = home_ + "datums.txt";
  }
  return path;
}

/// The transform must be finite, and the ".map" written for another format must hold the same points.
std::string Harness::checkResult() const {
  if (!coefficientsAreFinite()) return "a transform that is not finite";
  const std::string path = folder_ + "area.map";
  const FormatRow* format = formatOf(path);
  if (driver.inputFormat == format || !fileExists(path)) return "";
  const Calibration written = calibration;
  calibration.clear();
  std::string fault;
  runGuarded(fault, [&] { return !format->read(path).stopped; });
  if (!fault.empty()) return fault;
  fs::remove(path);  // a person who writes a second time may decline to replace it
  const int expected = std::clamp<int>(written.pointCount, 4, maxTiePoints);  // some are made up, some are left out
  const bool offTheLine = calibration.pointCount == expected + 1;             // made up where all others are on one
  if (calibration.pointCount != expected && !offTheLine) return "the written .map holds another number of points";
  constexpr double tolerance = 1e-7;  // degrees; the file holds millionths of a minute
  for (int i = 1; i <= std::min<int>(written.pointCount, maxTiePoints); ++i) {
    const bool same = calibration.points[i].pixelX == written.points[i].pixelX &&
                      calibration.points[i].pixelY == written.points[i].pixelY &&
                      std::abs(calibration.points[i].latitude - written.points[i].latitude) < tolerance &&
                      std::abs(calibration.points[i].longitude - written.points[i].longitude) < tolerance;
    if (!same)
      return "the written .map holds another point " + std::to_string(i) + ": " + pointText(calibration, i) + ", not " +
             pointText(written, i);
  }
  return "";
}

/// Clears away what was written. Only outputs beside the input are allowed, under its name, and whole.
std::string Harness::clearFolder() {
  std::string fault;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder_)) {
    const std::string name = entry.path().filename().string();
    if (std::ranges::find(images, name) != images.end()) continue;
    if (!name.starts_with("area") || name.ends_with("-part")) fault = "left behind: " + name;
    fs::remove_all(entry.path());
  }
  return fault;
}

}  // namespace vellandra

#pragma once

#include <array>
#include <cstdint>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "calibration/calibration.h"
#include "calibration/driver.h"
#include "calibration/format_row.h"
#include "imaging/merge_question.h"
#include "imaging/tile_controls.h"
#include "support/user_interface.h"
#include "ui/viewer/map_viewer_session.h"

namespace vellandra {

/// Maps of more pixels say nothing new, and take most of the time.
inline constexpr std::int64_t mostPixels = 10'000;

/// What an input says, byte by byte; zeros behind its end.
class Bytes {
 public:
  explicit Bytes(std::string_view bytes) : bytes_(bytes) {}
  bool empty() const { return bytes_.empty(); }
  int next() {
    if (bytes_.empty()) return 0;
    const auto byte = static_cast<unsigned char>(bytes_.front());
    bytes_.remove_prefix(1);
    return byte;
  }
  int next(std::size_t count) { return next() % static_cast<int>(count); }
  template <typename Choices>
  auto oneOf(const Choices& choices) {
    return *std::next(std::begin(choices), next(std::size(choices)));
  }

 private:
  std::string_view bytes_;
};

using Names = std::vector<std::string>;

/// The files that there are at the start.
struct Files {
  std::string folder;
  Names all, calibrations, images;

  Files(std::string in, const std::map<std::string, std::string>& contents) : folder(std::move(in)) {
    for (const auto& [name, content] : contents) {
      all.push_back(name);
      if (formatOf(name) != nullptr) calibrations.push_back(name);
      if (name.ends_with("png") || name.ends_with("jpg")) images.push_back(name);
    }
  }
  /// Now and then a file of any kind.
  std::string oneOf(Bytes& bytes, const Names& names) const {
    const int choice = bytes.next();
    return folder + (choice > 250 ? bytes.oneOf(all) : names[static_cast<std::size_t>(choice) % names.size()]);
  }
};

class Person : public UserInterface {
 public:
  Person(Bytes& bytes, const Files& files) : bytes_(bytes), files_(files) { setUserInterface(*this); }

  Answer messageBox(const MessageBox& box) override {
    if (box.buttons == Buttons::ok) return Answer::ok;
    const bool agrees = bytes_.next(4) != 3;
    if (box.buttons == Buttons::yesNo) return agrees ? Answer::yes : Answer::no;
    return agrees ? Answer::ok : Answer::cancel;
  }
  std::string askOpenFile(const FilePicker& picker) override {
    return files_.oneOf(bytes_, picker.defaultName == "*.map" ? files_.calibrations : files_.images);
  }
  std::string askSaveFile(const FilePicker&) override {
    constexpr std::array<const char*, 6> names{"saved", "saved.png", "other.png", "area.png", "turned.map", "no/x.png"};
    return bytes_.next(8) == 7 ? "" : files_.folder + bytes_.oneOf(names);
  }
  int chooseDatum(const std::string&, const std::vector<std::string>& names) override {
    return bytes_.next(names.size() + 1);
  }
  WorldFileAnswer askWorldFile(const std::string&, const std::vector<std::string>&) override {
    const int choice = bytes_.next();
    return {static_cast<WorldFileAnswer::Datum>(choice % 3), static_cast<std::int16_t>(choice % 61), choice >= 128};
  }
  void askMerge(MergeQuestion& question) override {
    constexpr std::array<const char*, 6> percentages{"50", "0", "100", "101", "x", "33.3"};
    using Action = MergeAnswer::Action;
    constexpr std::array<Action, 4> actions{Action::merge, Action::save, Action::save, Action::close};
    const Action action = bytes_.empty() ? Action::close : bytes_.oneOf(actions);
    const std::string size = question.expandCaption.substr(question.expandCaption.find_first_of("0123456789"));
    const bool small = std::stoll(size) * std::stoll(size.substr(size.find('x') + 1)) <= mostPixels;
    question.answer = {action, bytes_.oneOf(percentages), small && bytes_.next(2) == 0};
  }
  void askGarminTiles(TileControls& controls) override {
    if (bytes_.next(2) != 0) controls.raiseAcross();
    if (bytes_.next(2) != 0) controls.lowerDown();
    controls.toggle(bytes_.next());
    if (bytes_.next(4) != 3) controls.confirm();
  }
  std::optional<std::string> askText(const std::string&, const std::string& initial) override {
    constexpr std::array<const char*, 5> texts{"50", "10", "90", "9", "1e3"};
    return bytes_.next(8) == 7 ? initial : bytes_.oneOf(texts);
  }
  void askRectangle(PixelRectangle& part) override {
    part.left = bytes_.next(12);
    part.top = bytes_.next(12);
    part.right = part.left + bytes_.next(24);
    part.bottom = part.top + bytes_.next(24);
  }
  Picture clipboardPicture() override {
    Picture picture{bytes_.next(30), bytes_.next(30), {}};
    picture.pixels.resize(static_cast<std::size_t>(picture.width * picture.height) * 3, 100);
    return picture;
  }
  std::string clipboardText() override {
    constexpr std::array<const char*, 5> lines{"0,0,51,-1\n", "20,0,51,1\r\n", "0,20,50,-1\r", "5,5,91,400\n",
                                               "a,b,,\n"};
    std::string text;
    for (int count = bytes_.next(8); count > 0; --count) text += bytes_.oneOf(lines);
    return text;
  }
  void showPanel(const std::string&) override {}

  /// In the viewer, points are placed, moved, corrected and removed.
  ViewerResult view(ViewerMode mode) {
    CalibrationSession session(mode, calibration, driver.fixedPair());
    session.startPlacing();
    for (int steps = bytes_.next(8); steps > 0; --steps) changePoint(session);
    if (!session.changed() || bytes_.next(4) == 3) return {};
    session.commit(calibration);
    return {true, {}};
  }

 private:
  void changePoint(CalibrationSession& session) {
    constexpr std::array<const char*, 3> datums{"WGS 84", "European 1950", "no datum"};
    const int x = bytes_.next(32), y = bytes_.next(32);
    const double latitude = 51.5 - 0.01 * bytes_.next(), longitude = -1 + 0.01 * bytes_.next();
    const int number = session.points().empty() ? 0 : 1 + bytes_.next(session.points().size());
    switch (bytes_.next(8)) {
      case 0:
        if (number > 0) session.remove(number);
        break;
      case 1:
        session.beginMove();
        if (number > 0) session.moveTo(number, x, y);
        break;
      case 2:
        if (number > 0) session.correct(number, latitude, longitude, {.datum = bytes_.oneOf(datums)});
        break;
      case 3:
        if (session.canUndo()) session.undo();
        break;
      case 4:
        if (session.canRedo()) session.redo();
        break;
      case 5:
        if (number > 0) session.switchPoint(number, bytes_.next(2) == 0);
        break;
      default:
        if (session.wait(x, y)) session.giveCoordinates(latitude, longitude, {.datum = bytes_.oneOf(datums)});
    }
  }

  Bytes& bytes_;
  const Files& files_;
};

}  // namespace vellandra

#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/work.h"

namespace vellandra {

class TileControls;
struct MergeQuestion;
struct PixelRectangle;

enum class Buttons { ok, okCancel, yesNo };
enum class Icon { none, question, warning, error };
enum class Answer { ok, cancel, yes, no };

struct MessageBox {
  std::string text;
  std::string title = "Vellandra";
  Buttons buttons = Buttons::ok;
  Icon icon = Icon::none;
  bool prefersNo = false;  ///< of Yes and No, which one Enter takes
};

/// An open or save dialog. `filter` is a list of "description|pattern" pairs joined by "|", patterns joined by ";".
struct FilePicker {
  std::string title;
  std::string defaultName;
  std::string filter;
  std::string copyOf = {};  ///< the image of which a copy is saved
};

/// What a world file in grid coordinates does not say itself.
struct WorldFileAnswer {
  enum class Datum { none, wgs84, notWgs84 };
  Datum datum = Datum::none;  ///< none: closed without a choice
  std::int16_t zone = 0;      ///< 1 to 60, 0 for the British national grid
  bool southern = false;
};

/// A picture to show, or from the clipboard: rows from the top, pixels of blue, green, red, nothing between the rows.
/// Empty (all sizes 0) when there is none.
struct Picture {
  int width = 0, height = 0;
  std::vector<std::uint8_t> pixels;
};

/// Which commands of the main window can be used.
struct MenuStates {
  bool calibratedImage = false;  ///< an image is loaded and its calibration fits
  bool points = false;           ///< an image is loaded and has points, which may not be enough for a calibration
};

/// The port to the person: everything that asks or tells goes through here. Texts are bytes as the core holds them
/// (UTF-8 or Windows-1252); an implementation turns them into what it shows.
class UserInterface {
 public:
  virtual ~UserInterface() = default;

  virtual Answer messageBox(const MessageBox& box) = 0;

  /// The chosen path; empty when cancelled.
  virtual std::string askOpenFile(const FilePicker& picker) = 0;
  virtual std::string askSaveFile(const FilePicker& picker) = 0;

  /// "Match datums": `prompt` stands above the list `names`. Returns the chosen position counted from 1; 0 for none.
  virtual int chooseDatum(const std::string& prompt, const std::vector<std::string>& names) = 0;

  /// "TFW Parameters": `lines` are the world file's lines, `zones` the entries of the zone list (1 to 60, then the
  /// British grid).
  virtual WorldFileAnswer askWorldFile(const std::string& lines, const std::vector<std::string>& zones) = 0;

  // Questions that only commands in windows ask; elsewhere they take their harmless answer. What the person changes may
  // be of a type that is none of the port's.

  /// "Merge Maps": what the person wants done next.
  virtual void askMerge(MergeQuestion& /*question*/) {}

  /// "Garmin Tile controls": the person changes `controls` and confirms them, or closes the dialog without.
  virtual void askGarminTiles(TileControls& /*controls*/) {}

  /// The part of the open map's image to keep, which need not lie in it; all 0, as it was, when cancelled.
  virtual void askRectangle(PixelRectangle& /*part*/) {}

  /// A line of text, as typed, with `initial` to start from; nothing when cancelled.
  virtual std::optional<std::string> askText(const std::string& /*prompt*/, const std::string& /*initial*/) {
    return std::nullopt;
  }

  /// The whole text of the message panel, each line ended by CR LF.
  virtual void showPanel(const std::string& message) = 0;

  /// Does `work`, which may take long and must not call the port, and returns when it is done; throws what it throws,
  /// Cancelled when the person ended it. Beside the work a window goes on living, shows `title` and the progress, and
  /// takes nothing but Cancel. Call it through `runWork` below.
  virtual void doWork(const std::string& /*title*/, const std::function<void()>& work) { work(); }

  /// The pointer becomes an hourglass while work without steps goes on, and normal again.
  virtual void showBusy(bool /*busy*/) {}

  virtual void setMenuStates(const MenuStates&) {}

  /// What the clipboard holds; empty where there is no clipboard.
  virtual Picture clipboardPicture() { return {}; }
  virtual std::string clipboardText() { return {}; }
};

/// The implementation in use; `setUserInterface` must have been called before.
UserInterface& userInterface();
void setUserInterface(UserInterface& implementation);

/// The result of `task`, done as `UserInterface::doWork` has it; in place when it is a part of work under way.
template <typename Task>
auto runWork(const std::string& title, const Task& task) -> decltype(task()) {
  if (currentWork() != nullptr) return task();
  if constexpr (std::is_void_v<decltype(task())>) {
    userInterface().doWork(title, task);
  } else {
    std::optional<decltype(task())> result;
    userInterface().doWork(title, [&] { result.emplace(task()); });
    return std::move(*result);
  }
}

/// Asks `text` with OK and Cancel; true on OK.
bool askOkCancel(const std::string& text, const std::string& title = "Vellandra");

/// Shows `text`, which says why something was not done, with an OK button, and keeps it in `lastTold`.
void tell(const std::string& text, const std::string& title = "Vellandra");

/// What the person was told last in the running command; when that has stopped, why.
extern std::string lastTold;

}  // namespace vellandra

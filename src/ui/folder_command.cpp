#include "ui/folder_command.h"

#include <QMessageBox>
#include <QPushButton>
#include <optional>
#include <utility>

#include "calibration/calibration.h"
#include "calibration/folder_run.h"
#include "calibration/messages.h"
#include "calibration/open_map.h"
#include "formats/calibrations_in_folder.h"
#include "support/file_changes.h"
#include "support/paths.h"
#include "support/work.h"
#include "ui/dialogs/file_dialog.h"
#include "ui/dialogs/folder_dialog.h"
#include "ui/dialogs/work_dialog.h"
#include "ui/main_window.h"
#include "ui/widgets/qt_text.h"
#include "ui/window_interface.h"

namespace vellandra {
namespace {

/// The port while a folder is converted beside the windows: what went wrong with a calibration stands in its row, and
/// one answer serves all questions about files that are there. The panel is brought up to date for a question.
class FolderInterface : public WindowInterface {
 public:
  explicit FolderInterface(MainWindow* window) : WindowInterface(window), before_(userInterface()) {
    setUserInterface(*this);
  }
  FolderInterface(const FolderInterface&) = delete;
  FolderInterface& operator=(const FolderInterface&) = delete;
  ~FolderInterface() override { setUserInterface(before_); }

  Answer messageBox(const MessageBox& box) override {
    if (box.buttons == Buttons::ok && box.icon == Icon::warning) {
      told_ += (told_.empty() ? "" : " ") + box.text;
      return Answer::ok;
    }
    const bool overwrites = box.text.starts_with("OK to overwrite ");
    if (overwrites && overwritesAll_) return Answer::ok;
    return ask([&] { return overwrites ? askToOverwrite(box) : WindowInterface::messageBox(box); });
  }
  std::string askOpenFile(const FilePicker& picker) override {
    return ask([&] { return WindowInterface::askOpenFile(picker); });
  }
  std::string askSaveFile(const FilePicker& picker) override {
    return ask([&] { return WindowInterface::askSaveFile(picker); });
  }
  int chooseDatum(const std::string& prompt, const std::vector<std::string>& names) override {
    return ask([&] { return WindowInterface::chooseDatum(prompt, names); });
  }
  WorldFileAnswer askWorldFile(const std::string& lines, const std::vector<std::string>& zones) override {
    return ask([&] { return WindowInterface::askWorldFile(lines, zones); });
  }
  std::optional<std::string> askText(const std::string& prompt, const std::string& initial) override {
    return ask([&] { return WindowInterface::askText(prompt, initial); });
  }
  void showPanel(const std::string& /*message*/) override {}
  void showBusy(bool /*busy*/) override {}
  void setMenuStates(const MenuStates& /*states*/) override {}

  /// What was told since the last call.
  std::string told() { return std::exchange(told_, {}); }

 private:
  /// Meanwhile the run stands still, and what belongs to it can be looked at.
  template <typename Question>
  auto ask(const Question& question) -> decltype(question()) {
    std::optional<decltype(question())> answer;
    doInWindows([&] {
      WindowInterface::showPanel(calibration.message);
      answer = question();
    });
    return *answer;
  }

  Answer askToOverwrite(const MessageBox& box) {
    QMessageBox question(QMessageBox::Question, shown(box.title), breakable(shown(box.text)),
                         QMessageBox::Ok | QMessageBox::YesToAll | QMessageBox::Cancel, parent());
    question.setTextFormat(Qt::PlainText);
    question.setDefaultButton(QMessageBox::Ok);
    const int pressed = question.exec();
    overwritesAll_ = pressed == QMessageBox::YesToAll;
    return overwritesAll_ || pressed == QMessageBox::Ok ? Answer::ok : Answer::cancel;
  }

  UserInterface& before_;
  std::string told_;
  bool overwritesAll_ = false;
};

/// Cancelled, it leaves the files of the calibration that it is at as they were.
std::vector<FolderRow> convertAll(MainWindow* window, const std::vector<std::string>& paths, FolderDialog& dialog) {
  const OpenMapKeeper openMap;
  FolderInterface interface(window);
  std::vector<FolderRow> rows;
  const auto convert = [&](const std::string& path) {
    FolderRow row = convertForFolder(path, Answers::forNow);
    endIfCancelled();
    if (std::string told = interface.told(); !told.empty()) row.whyNot = std::move(told);
    if (const std::string unplaced = FileChanges::putHeldInPlace(); !unplaced.empty()) {
      row.stopped = true;
      row.whyNot += (row.whyNot.empty() ? "" : " ") + ("unable to write " + unplaced);
    }
    return row;
  };
  try {
    doBeside(dialog, [&] {
      for (const std::string& path : paths) {
        endIfCancelled();
        doInWindows([&] { dialog.begin(std::string(fileName(path))); });
        rows.push_back(leavingNothingWhenCancelled([&] { return convert(path); }));
        doInWindows([&] { dialog.add(rows.back()); });
      }
    });
  } catch (const Cancelled&) {
    return rows;  // which the list says
  }
  return rows;
}

}  // namespace

bool convertFolder(MainWindow* window) {
  const std::string folder = pickFolder(window, "Convert the calibrations of a folder");
  return !folder.empty() && convertFolder(window, folder);
}

bool convertFolder(MainWindow* window, const std::string& folder) {
  const std::optional<std::vector<std::string>> paths = calibrationsIn(folder);
  if (!paths || paths->empty()) {
    tell(paths ? "There is no calibration in " + folder : "Unable to read folder " + folder);
    return false;
  }
  FolderDialog dialog(window, folder, static_cast<int>(paths->size()));
  dialog.show();
  std::string message = calibration.message;
  const std::vector<FolderRow> rows = convertAll(window, *paths, dialog);
  calibration.message = std::move(message);
  beginMapOnPanel(folder);
  for (const std::string& line : folderTable(rows)) showMessage(line);
  dialog.end();
  return !rows.empty();
}

}  // namespace vellandra

#include "ui/folder_command.h"

#include <QMessageBox>
#include <QPushButton>
#include <utility>

#include "calibration/calibration.h"
#include "calibration/folder_run.h"
#include "calibration/messages.h"
#include "calibration/open_map.h"
#include "formats/calibrations_in_folder.h"
#include "support/paths.h"
#include "ui/dialogs/file_dialog.h"
#include "ui/dialogs/folder_dialog.h"
#include "ui/main_window.h"
#include "ui/widgets/qt_text.h"
#include "ui/window_interface.h"

namespace vellandra {
namespace {

/// The port while a folder is converted: what went wrong with a calibration stands in its row, and one answer serves
/// all questions about files that are there.
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
    if (!box.text.starts_with("OK to overwrite ")) return WindowInterface::messageBox(box);
    return overwritesAll_ ? Answer::ok : askToOverwrite(box);
  }

  /// What was told since the last call.
  std::string told() { return std::exchange(told_, {}); }

 private:
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

std::vector<FolderRow> convertAll(MainWindow* window, const std::vector<std::string>& paths, FolderDialog& dialog) {
  const OpenMapKeeper openMap;
  FolderInterface interface(window);
  std::vector<FolderRow> rows;
  for (const std::string& path : paths) {
    if (!dialog.begin(std::string(fileName(path)))) break;
    rows.push_back(convertForFolder(path));
    rows.back().whyNot = interface.told();
    dialog.add(rows.back());
  }
  return rows;
}

}  // namespace

bool convertFolder(MainWindow* window) {
  const std::string folder = pickFolder(window, "Convert the calibrations of a folder");
  if (folder.empty()) return false;
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

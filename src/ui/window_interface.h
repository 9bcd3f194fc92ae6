#pragma once

#include <optional>
#include <string>
#include <vector>

#include "support/user_interface.h"

class QWidget;

namespace vellandra {

class MainWindow;

/// The port in windows: every question is a modal dialog over the window in front.
class WindowInterface : public UserInterface {
 public:
  /// `window` shows panel, progress and menu states; without one (a batch started from a file manager) they are not
  /// shown.
  explicit WindowInterface(MainWindow* window = nullptr) : window_(window) {}

  Answer messageBox(const MessageBox& box) override;
  std::string askOpenFile(const FilePicker& picker) override;
  std::string askSaveFile(const FilePicker& picker) override;
  int chooseDatum(const std::string& prompt, const std::vector<std::string>& names) override;
  WorldFileAnswer askWorldFile(const std::string& lines, const std::vector<std::string>& zones) override;
  void askMerge(MergeQuestion& question) override;
  void askGarminTiles(TileControls& controls) override;
  void askRectangle(PixelRectangle& part) override;
  std::optional<std::string> askText(const std::string& prompt, const std::string& initial) override;
  void showPanel(const std::string& message) override;
  void doWork(const std::string& title, const std::function<void()>& work) override;
  void showBusy(bool busy) override;
  void setMenuStates(const MenuStates& states) override;
  Picture clipboardPicture() override;
  std::string clipboardText() override;

 protected:
  /// Of a dialog that asks something, which nothing else may cover.
  QWidget* parent() const;

 private:
  MainWindow* window_;
  int busy_ = 0;  ///< nested requests for the hourglass
};

}  // namespace vellandra

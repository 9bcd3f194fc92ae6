#pragma once

#include <QMainWindow>
#include <functional>

#include "support/user_interface.h"
#include "ui/viewer/map_viewer.h"

class QAction;
class QLabel;
class QMenu;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;

namespace vellandra {

/// The main window: menus, what to do next, message panel and progress bar.
class MainWindow : public QMainWindow {
  Q_OBJECT

 public:
  using ShowViewer = std::function<ViewerResult(QWidget*, ViewerMode)>;
  explicit MainWindow(ShowViewer showViewer = showMapViewer);

  void showPanel(const QString& message);
  void showProgress(int done, int total);
  void setMenuStates(const MenuStates& states);

  ViewerResult view(ViewerMode mode) { return showViewer_(this, mode); }

  /// Opens a calibration or a map image, told by the path's ending.
  void openFile(const QString& path);
  /// Offers to go on with a calibration that an earlier run did not finish.
  void offerUnfinished();

 protected:
  void closeEvent(QCloseEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  /// Once a second: tells between commands what has become of archives.
  void timerEvent(QTimerEvent* event) override;

 private:
  using Command = std::function<bool()>;

  void buildMenus();
  void buildCentre();
  QAction* addCommand(QMenu* menu, const char* name, const char* caption, const char* hint,
                      const QKeySequence& shortcut, const Command& command);
  /// Runs `command` to its end; a second one cannot start meanwhile.
  void run(const Command& command);
  void refresh();
  void refreshNextStep();
  void refreshRecentFiles();
  void rememberFile(const std::string& path);
  void forgetFile(const QString& path);
  void showHelp();
  void showReadme();

  ShowViewer showViewer_;
  bool running_ = false;
  bool closesAfterCommand_ = false;  ///< closed while a command ran, which that ends
  MenuStates states_;
  QString shownPanel_;

  QMenu* recent_ = nullptr;
  QPlainTextEdit* panel_ = nullptr;
  QProgressBar* progress_ = nullptr;
  QLabel* nextStepTitle_ = nullptr;
  QLabel* nextStep_ = nullptr;
  QPushButton* firstButton_ = nullptr;
  QPushButton* secondButton_ = nullptr;
};

}  // namespace vellandra

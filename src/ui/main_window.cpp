#include "ui/main_window.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QStatusBar>
#include <QVBoxLayout>
#include <algorithm>

#include "calibration/calibration.h"
#include "calibration/driver.h"
#include "calibration/session.h"
#include "imaging/garmin_archive.h"
#include "support/paths.h"
#include "ui/commands.h"
#include "ui/dialogs/merge_dialog.h"
#include "ui/dialogs/work_dialog.h"
#include "ui/widgets/qt_text.h"
#include "ui/widgets/window_settings.h"

namespace vellandra {
namespace {

constexpr const char* geometryKey = "mainWindow";
constexpr const char* recentKey = "recentFiles";
constexpr int mostRecentFiles = 8;
constexpr int longestRecentText = 70;  // average characters

constexpr const char* imageEndings[] = {"png", "bmp", "jpg", "gif", "tif"};

bool isImage(const QString& path) {
  const std::string extension = splitPath(pathBytes(path)).extension;
  return std::ranges::find(imageEndings, extension) != std::end(imageEndings);
}

/// Of the files that are dragged here the first calibration, else the first image, else the first.
QString droppedFile(const QMimeData* data) {
  const auto isCalibration = [](const QString& path) { return formatOf(pathBytes(path)) != nullptr; };
  QStringList paths;
  for (const QUrl& url : data->urls()) {
    if (url.isLocalFile()) paths << url.toLocalFile();
  }
  for (const auto& wanted : {std::function<bool(const QString&)>(isCalibration), {isImage}}) {
    const auto found = std::find_if(paths.begin(), paths.end(), wanted);
    if (found != paths.end()) return *found;
  }
  return paths.value(0);
}

}  // namespace

MainWindow::MainWindow(ShowViewer showViewer) : showViewer_(std::move(showViewer)) {
  setObjectName("main");
  setWindowTitle("Calibration and Calibration Conversion");
  setAcceptDrops(true);
  buildCentre();
  buildMenus();
  resize(QSize(fontMetrics().averageCharWidth() * 110, fontMetrics().height() * 36)
             .boundedTo(screen()->availableSize() * 9 / 10));
  restoreGeometry(windowSettings().value(geometryKey).toByteArray());
  connect(QApplication::clipboard(), &QClipboard::dataChanged, this, [this] {
    if (!running_) refresh();  // what it looks at may be in work
  });
  startTimer(1000);
  refresh();
}

void MainWindow::run(const Command& command) {
  if (running_) return;
  running_ = true;
  (void)runCommand(command);
  running_ = false;
  endWorkDisplay();
  delete findChild<QDialog*>(MergeDialog::name);  // open from its first question to the end of the command
  refresh();
  if (closesAfterCommand_) close();
}

void MainWindow::timerEvent(QTimerEvent* event) {
  QMainWindow::timerEvent(event);
  if (!running_) notePackingFaults();
}

void MainWindow::refresh() {
  for (const char* name : {"mnurs", "mnucm", "mnuwmt", "mwgcm"}) {
    findChild<QAction*>(name)->setEnabled(states_.calibratedImage);
  }
  findChild<QAction*>("mnuwc")->setEnabled(states_.calibratedImage);
  findChild<QAction*>("mnuvc")->setEnabled(states_.calibratedImage || states_.points);
  const QMimeData* clipboard = QApplication::clipboard()->mimeData();
  findChild<QAction*>("mnulic")->setEnabled(clipboard != nullptr && clipboard->hasImage());
  refreshRecentFiles();
  refreshNextStep();
}

void MainWindow::refreshNextStep() {
  const auto offer = [](QPushButton* button, const char* caption, const char* command) {
    button->setText(caption);
    button->setProperty("command", command);
  };
  if (!states_.calibratedImage && !states_.points) {
    nextStepTitle_->setText("Start with a map");
    nextStep_->setText(
        "Open a calibration that another program made, to convert it. Or load the image of a map, to calibrate it by "
        "clicking on places whose coordinates you know. You can also drop either file on this window.");
    offer(firstButton_, "Open a calibration...", "mnufo");
    offer(secondButton_, "Load a map image...", "mnulm");
    return;
  }
  const QString size = QFileInfo(shownPath(calibration.imagePath)).fileName() +
                       QString(", %1 x %2 pixels, %3 %4. ")
                           .arg(calibration.imageWidth)
                           .arg(calibration.imageHeight)
                           .arg(calibration.pointCount)
                           .arg(calibration.pointCount == 1 ? "point" : "points");
  offer(firstButton_, "View the map...", "mnuvc");
  if (!states_.calibratedImage) {
    nextStepTitle_->setText("The map is not calibrated");
    nextStep_->setText(
        breakable(size) +
        "That makes no calibration yet: view the map to add or mend points, or open another calibration.");
    offer(secondButton_, "Open a calibration...", "mnufo");
    return;
  }
  offer(secondButton_, "Write the calibrations", "mnuwc");
  if (driver.calibrationPending) {
    nextStepTitle_->setText("The map is calibrated");
    nextStep_->setText(breakable(size) + "Look at it, or write its calibration for every program, beside the input.");
  } else {
    nextStepTitle_->setText("The calibrations are written");
    nextStep_->setText(breakable(size + "The files lie in " + shownPath(driver.inputFolder)));
  }
}

void MainWindow::refreshRecentFiles() {
  recent_->clear();
  const QStringList files = windowSettings().value(recentKey).toStringList();
  const QFontMetrics metrics(recent_->font());
  int number = 0;
  for (const QString& path : files) {
    const QString text = metrics.elidedText(QDir::toNativeSeparators(path), Qt::ElideMiddle,
                                            metrics.averageCharWidth() * longestRecentText);
    QAction* entry = recent_->addAction(QString("&%1  ").arg(++number) + QString(text).replace("&", "&&"), this,
                                        [this, path] { openFile(path); });
    entry->setStatusTip(path);
  }
  recent_->setEnabled(!files.isEmpty());
}

void MainWindow::rememberFile(const std::string& path) {
  const QString absolute = QFileInfo(shownPath(path)).absoluteFilePath();
  QSettings settings = windowSettings();
  QStringList files = settings.value(recentKey).toStringList();
  files.removeAll(absolute);
  files.prepend(absolute);
  settings.setValue(recentKey, files.mid(0, mostRecentFiles));
}

void MainWindow::forgetFile(const QString& path) {
  QSettings settings = windowSettings();
  QStringList files = settings.value(recentKey).toStringList();
  if (files.removeAll(path) > 0) settings.setValue(recentKey, files);
}

void MainWindow::openFile(const QString& path) {
  run([this, path] {
    if (!QFileInfo::exists(path)) {
      forgetFile(path);
      tell("Missing file " + pathBytes(path));
      return false;
    }
    const std::string given = pathBytes(path);
    const bool image = isImage(path);
    const bool done = image ? mnulm([this](ViewerMode mode) { return view(mode); }, given) : mnufo(given);
    if (done) rememberFile(given);
    return done;
  });
}

void MainWindow::offerUnfinished() {
  run([this] { return goOnWithUnfinished([this](ViewerMode mode) { return view(mode); }); });
}

void MainWindow::showPanel(const QString& message) {
  if (message.startsWith(shownPanel_) && !shownPanel_.isEmpty()) {
    const QString added = message.mid(shownPanel_.size()).remove('\r');
    if (!added.isEmpty()) panel_->appendPlainText(added.chopped(added.endsWith('\n') ? 1 : 0));
  } else {
    QString all = message;
    panel_->setPlainText(all.remove('\r').trimmed());
  }
  shownPanel_ = message;
  panel_->moveCursor(QTextCursor::End);
  if (running_) panel_->repaint();
}

void MainWindow::showProgress(int done, int total) {
  const bool going = total > 0 && done < total;
  progress_->setVisible(going);
  if (!going) return;
  progress_->setMaximum(total);
  progress_->setValue(done);
}

void MainWindow::setMenuStates(const MenuStates& states) {
  states_ = states;
  refresh();
}

void MainWindow::closeEvent(QCloseEvent* event) {
  closesAfterCommand_ = running_;
  if (running_) {
    event->ignore();
    return;
  }
  running_ = true;
  const bool ends = runCommand(endSession);
  running_ = false;
  if (ends) windowSettings().setValue(geometryKey, saveGeometry());
  event->setAccepted(ends);
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
  if (!running_ && !droppedFile(event->mimeData()).isEmpty()) event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
  const QString path = droppedFile(event->mimeData());
  if (path.isEmpty()) return;
  event->acceptProposedAction();
  // The program that the file comes from waits until the drop is over.
  QMetaObject::invokeMethod(
      this, [this, path] { openFile(path); }, Qt::QueuedConnection);
}

void MainWindow::showHelp() {
  QMessageBox box(QMessageBox::NoIcon, "About", "See 'readme.txt' distributed with this program", QMessageBox::Ok,
                  this);
  QPushButton* open = box.addButton("Open &readme.txt", QMessageBox::ActionRole);
  open->setObjectName("openReadme");
  box.exec();
  if (box.clickedButton() == open) showReadme();
}

void MainWindow::showReadme() {
  QFile file(shownPath(programFolder()) + "readme.txt");
  if (!file.open(QIODevice::ReadOnly)) {
    tell("Unable to read " + pathBytes(file.fileName()));
    return;
  }
  QDialog dialog(this);
  dialog.setObjectName("readme");
  dialog.setWindowTitle("readme.txt");
  auto* text = new QPlainTextEdit(shown(file.readAll().toStdString()));
  text->setReadOnly(true);
  text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  text->setAccessibleName("readme.txt");
  text->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
  connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
  auto* layout = new QVBoxLayout(&dialog);
  layout->addWidget(text);
  layout->addWidget(buttons);
  const QFontMetrics metrics(text->font());
  dialog.resize(metrics.averageCharWidth() * 90, metrics.height() * 36);
  dialog.exec();
}

}  // namespace vellandra

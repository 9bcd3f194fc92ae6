#include <QAction>
#include <QFontDatabase>
#include <QLabel>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QStatusBar>
#include <QVBoxLayout>

#include "calibration/calibration.h"
#include "calibration/driver.h"
#include "calibration/pickers.h"
#include "imaging/merge.h"
#include "imaging/rescale_crop.h"
#include "ui/commands.h"
#include "ui/dialogs/preferences_dialog.h"
#include "ui/folder_command.h"
#include "ui/main_window.h"

namespace vellandra {

QAction* MainWindow::addCommand(QMenu* menu, const char* name, const char* caption, const char* hint,
                                const QKeySequence& shortcut, const Command& command) {
  QAction* action = menu->addAction(caption);
  action->setObjectName(name);
  action->setStatusTip(hint);
  action->setShortcut(shortcut);
  connect(action, &QAction::triggered, this, [this, command] { run(command); });
  return action;
}

void MainWindow::buildMenus() {
  const auto menu = [this](const char* name, const char* caption) {
    QMenu* added = menuBar()->addMenu(caption);
    added->setObjectName(name);
    return added;
  };
  const Viewer viewer = [this](ViewerMode mode) { return view(mode); };

  QMenu* file = menu("mnufile", "&File");
  addCommand(file, "mnufo", " &Open Calibration", "Reads a calibration file and finds its map", QKeySequence::Open,
             [this] {
               if (!mnufo()) return false;
               rememberFile(driver.inputPath);
               return true;
             });
  addCommand(file, "mnulm", " &Load map for calibration", "Loads a map image, to be calibrated by clicking on it",
             QKeySequence("Ctrl+L"), [this, viewer] {
               if (!mnulm(viewer)) return false;
               rememberFile(calibration.imagePath);
               return true;
             });
  addCommand(file, "mnulic", " Load image from &clipboard", "Takes the picture on the clipboard as the map",
             QKeySequence::Paste, [viewer] { return mnulic(viewer); });
  recent_ = file->addMenu(" &Recent files");
  recent_->setObjectName("recent");
  file->addSeparator();
  addCommand(file, "mnuwc", " &Write Calibrations", "Writes the calibration for every program, beside the input",
             QKeySequence::Save, [] { return mnuwc(); });
  addCommand(file, "mnufolder", " Con&vert a folder", "Converts all calibrations of a folder", {},
             [this] { return convertFolder(this); });
  addCommand(file, "mnuwmt", " Write map as &Trekbuddy tiles", "Cuts the map into tiles for TrekBuddy", {}, mnuwmt);
  addCommand(file, "mwgcm", " Write &Garmin Custom Map", "Cuts the map into tiles for a Garmin device", {}, mwgcm);
  file->addSeparator();
  addCommand(file, "mnuexit", " E&xit", "Ends the program", QKeySequence("Ctrl+Q"), [this] {
    QMetaObject::invokeMethod(this, &QWidget::close, Qt::QueuedConnection);
    return true;
  });

  addCommand(menu("mnuview", "&View"), "mnuvc", "&View Calibrated Map", "Shows the map with its points and positions",
             QKeySequence("Ctrl+M"), [viewer] { return mnuvc(viewer); });

  QMenu* edit = menu("mnuedit", "&Edit");
  addCommand(edit, "mnupref", " &Preferences", "Settings of output, viewer and tiles", QKeySequence("Ctrl+,"),
             [this] { return editPreferences(this); });
  addCommand(edit, "eldf", " Locate &Datums File", "Chooses the table of datums", {},
             [] { return locateDatumsFile(); });
  addCommand(edit, "mnuel7z", " Locate &7-Zip program", "Chooses the program that packs Garmin Custom Maps", {},
             [] { return locateSevenZip(); });

  edit->addSeparator();
  addCommand(edit, "mnurs", " &Rescale map and save", "Saves the map smaller, with its calibration", {}, rescaleMap);
  addCommand(edit, "mnucm", " &Crop map and save", "Saves a part of the map, with its calibration", {}, cropMap);
  addCommand(edit, "mnumm", "&Merge Maps", "Paints one calibrated map into another", {}, mergeMaps);

  QMenu* help = menu("mnuhelp", "&Help");
  addCommand(help, "mnuabout", " &About", "", {}, [] { return mnuabout(); });
  addCommand(help, "mnuhelphelp", " &Help", "", QKeySequence::HelpContents, [this] {
    showHelp();
    return true;
  });
}

void MainWindow::buildCentre() {
  nextStepTitle_ = new QLabel;
  nextStepTitle_->setObjectName("nextStepTitle");
  QFont bold = font();
  bold.setBold(true);
  bold.setPointSizeF(bold.pointSizeF() * 1.25);
  nextStepTitle_->setFont(bold);
  nextStepTitle_->setTextFormat(Qt::PlainText);
  nextStep_ = new QLabel;
  nextStep_->setObjectName("nextStep");
  nextStep_->setWordWrap(true);
  nextStep_->setTextFormat(Qt::PlainText);
  firstButton_ = new QPushButton;
  firstButton_->setObjectName("firstButton");
  secondButton_ = new QPushButton;
  secondButton_->setObjectName("secondButton");

  panel_ = new QPlainTextEdit;
  panel_->setObjectName("message");
  panel_->setAccessibleName("Messages");
  panel_->setPlaceholderText("Messages appear here.");
  panel_->setReadOnly(true);
  panel_->setTabChangesFocus(true);
  panel_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  panel_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));

  progress_ = new QProgressBar;
  progress_->setObjectName("progress");
  progress_->setAccessibleName("Progress");
  progress_->hide();
  statusBar()->addPermanentWidget(progress_);

  auto* buttons = new QHBoxLayout;
  buttons->addWidget(firstButton_);
  buttons->addWidget(secondButton_);
  buttons->addStretch();
  auto* centre = new QWidget;
  auto* layout = new QVBoxLayout(centre);
  layout->addWidget(nextStepTitle_);
  layout->addWidget(nextStep_);
  layout->addLayout(buttons);
  layout->addWidget(panel_, 1);
  setCentralWidget(centre);

  const auto triggerNamed = [this](QPushButton* button) {
    if (auto* action = findChild<QAction*>(button->property("command").toString())) action->trigger();
  };
  for (QPushButton* button : {firstButton_, secondButton_}) {
    connect(button, &QPushButton::clicked, this, [=] { triggerNamed(button); });
  }
}

}  // namespace vellandra

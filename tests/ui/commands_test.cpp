#include <QDragEnterEvent>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <set>

#include "ui/window_fixture.h"

namespace vellandra {
namespace {

TEST_F(WindowTest, MenusHoldTheCommandsInTheirOrder) {
  const struct {
    const char *menu, *entries;
  } rows[] = {
      {"mnufile",
       "File|mnufo: Open Calibration|mnulm: Load map for calibration|mnulic: Load image from clipboard|"
       "mnuwc: Write Calibrations|mnuwmt: Write map as Trekbuddy tiles|mwgcm: Write Garmin Custom Map|mnuexit: Exit"},
      {"mnuview", "View|mnuvc:View Calibrated Map"},
      {"mnuedit",
       "Edit|mnupref: Preferences|eldf: Locate Datums File|mnuel7z: Locate 7-Zip program|"
       "mnurs: Rescale map and save|mnucm: Crop map and save|mnumm:Merge Maps"},
      {"mnuhelp", "Help|mnuabout: About|mnuhelphelp: Help"},
  };
  EXPECT_EQ(window->windowTitle(), "Calibration and Calibration Conversion");
  std::set<QChar> menuKeys;
  for (const auto& row : rows) {
    const auto* menu = part<QMenu>(window.get(), row.menu);
    EXPECT_TRUE(menuKeys.insert(menu->title()[menu->title().indexOf('&') + 1]).second) << row.menu;
    QString entries = menu->title().remove('&');
    std::set<QChar> mnemonics;
    for (const QAction* entry : menu->actions()) {
      if (entry->isSeparator()) continue;
      const QString text = entry->text();
      EXPECT_TRUE(mnemonics.insert(text[text.indexOf('&') + 1].toLower()).second) << text.toStdString();
      if (entry->menu() == nullptr) entries += "|" + entry->objectName() + ":" + QString(text).remove('&');
    }
    EXPECT_EQ(entries.toStdString(), row.entries);
  }
}

TEST_F(WindowTest, FileDialogsCarryTheirTitleDefaultNameAndFilters) {
  const struct {
    const char *command, *title, *name;
    QStringList filters;
  } rows[] = {
      {"mnufo",
       "Open calibration file for map",
       "*.map",
       {"Ozi Map files (*.map) (*.map)", "GPSU GUX files (*.gux) (*.gux)", "World files (*.tfw) (*.tfw)",
        "MM JPR files (*.jpr) (*.jpr)", "GMI calibration files(*.gmi) (*.gmi)", "MCD Calibrations (*.mcd) (*.mcd)",
        "World files (*.jgw) (*.jgw)", "World files (*.pgw) (*.pgw)", "Cal files (*.cal) (*.cal)",
        "CompeGPS files (*.imp) (*.imp)"}},
      {"mnulm",
       "Open image file",
       "*.png",
       {"Image files(*.png,*.bmp,*.jpg,*.gif,*.tif) (*.png *.bmp *.jpg *.gif *.tif)"}},
      {"eldf", "Open datums.txt file ", "*.txt", {"Text files(*.txt) (*.txt)"}},
      {"mnuel7z", "Find 7z.exe ", "*.exe", {"Exe files(*.exe) (*.exe)"}},
      {"mnurs", "Save image file  ", "*.png", {"PNG files(*.png) (*.png)"}},
  };
  openWales();
  driver.calibrationPending = false;
  for (const auto& row : rows) {
    const bool saves = std::string(row.command) == "mnurs";
    if (saves) someone.answer("50");
    someone.use([&](QDialog* dialog) {
      auto* picker = qobject_cast<QFileDialog*>(dialog);
      ASSERT_NE(picker, nullptr);
      EXPECT_EQ(part<QLineEdit>(picker, "fileNameEdit")->text(), row.name);
      EXPECT_EQ(picker->nameFilters().mid(0, row.filters.size()), row.filters) << "others follow";
      EXPECT_EQ(picker->nameFilters().contains("All files (*)"), !saves);
      EXPECT_TRUE(picker->testOption(QFileDialog::DontConfirmOverwrite)) << "the command asks itself";
      if (saves) static_cast<QDialog*>(picker)->accept();
      EXPECT_TRUE(picker->isVisible()) << "the default name is no file to save";
      picker->reject();
    });
    if (row.command == rows[0].command) someone.answer("OK");  // "No input file specified"
    someone.seen.clear();
    choose(row.command);
    EXPECT_EQ(someone.seen.at(saves ? 1 : 0), row.title);
  }
}

TEST_F(WindowTest, CommandsAreEnabledWhenTheyHaveWhatTheyNeed) {
  const char* const needMap[] = {"mnuvc", "mnurs", "mnucm", "mnuwmt", "mwgcm"};
  for (const char* name : needMap) EXPECT_FALSE(action(name)->isEnabled()) << name;
  openWales();
  for (const char* name : needMap) EXPECT_TRUE(action(name)->isEnabled()) << name;
  QApplication::clipboard()->setImage(QImage(3, 2, QImage::Format_RGB32));
  EXPECT_TRUE(action("mnulic")->isEnabled());
  QApplication::clipboard()->setText("words");
  EXPECT_FALSE(action("mnulic")->isEnabled());
}

TEST_F(WindowTest, LongNamesAreShownWhole) {
  const std::string name = std::string(150, 'x') + ".tfw";
  someone.use([&](QDialog* dialog) {
    const auto* label = part<QLabel>(dialog, "qt_msgbox_label");
    EXPECT_LT(label->sizeHint().width(), 600);
    EXPECT_EQ(label->text().remove(QChar(0x200B)).toStdString(), "OK to overwrite " + name);
    dialog->reject();
  });
  EXPECT_FALSE(askOkCancel("OK to overwrite " + name));
}

TEST_F(WindowTest, OpenedFilesAreOfferedAgain) {
  openWales();
  const QList<QAction*> recent = part<QMenu>(window.get(), "recent")->actions();
  ASSERT_EQ(recent.size(), 1);
  someone.answer("OK");
  recent[0]->trigger();
  EXPECT_EQ(driver.inputPath, folder + "wales.map");
  EXPECT_TRUE(driver.offeredPath.empty());
}

TEST_F(WindowTest, DroppedFileIsOpened) {
  QMimeData data;
  const auto enters = [&](const std::string& path) {
    data.setUrls({QUrl::fromLocalFile(QString::fromStdString(path))});
    QDragEnterEvent enter({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    enter.ignore();
    QApplication::sendEvent(window.get(), &enter);
    return enter.isAccepted();
  };
  EXPECT_FALSE(enters("/tmp/letter.doc"));
  EXPECT_TRUE(enters(folder + "wales.png"));
  ASSERT_TRUE(enters(folder + "wales.map"));
  QDropEvent drop({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(window.get(), &drop);
  QCoreApplication::processEvents();
  EXPECT_TRUE(driver.calibrationPending);
}

}  // namespace
}  // namespace vellandra

#include <utime.h>

#include <QDragEnterEvent>
#include <QMenu>
#include <QMimeData>

#include "ui/window_fixture.h"

namespace vellandra {
namespace {

TEST_F(WindowTest, PickersShowTheirFiltersAndDoNotTakeTheDefaultName) {
  const std::tuple<const char*, const char*, QStringList> rows[] = {
      {"mnurs", "wales-new.png", {"PNG files(*.png) (*.png)"}},
      {"mnulm", "*.png", {"Image files(*.png,*.bmp,*.jpg,*.gif,*.tif) (*.png *.bmp *.jpg *.gif *.tif)"}},
      {"mnufo",
       "*.map",
       {"Ozi Map files (*.map) (*.map)", "GPSU GUX files (*.gux) (*.gux)", "World files (*.tfw) (*.tfw)",
        "MM JPR files (*.jpr) (*.jpr)", "GMI calibration files(*.gmi) (*.gmi)", "MCD Calibrations (*.mcd) (*.mcd)",
        "World files (*.jgw) (*.jgw)", "World files (*.pgw) (*.pgw)", "Cal files (*.cal) (*.cal)",
        "CompeGPS files (*.imp) (*.imp)",
        "All calibrations (*.map *.gux *.tfw *.jpr *.gmi *.mcd *.jgw *.pgw *.cal *.imp)"}}};
  openWales();
  driver.calibrationPending = false;
  for (const auto& [command, name, filters] : rows) {
    const bool saves = command == std::get<0>(rows[0]);
    if (saves) someone.answer("50");
    someone.use([&, name = name, &filters = filters](QDialog* dialog) {
      auto* picker = qobject_cast<QFileDialog*>(dialog);
      ASSERT_NE(picker, nullptr);
      EXPECT_EQ(part<QLineEdit>(picker, "fileNameEdit")->text(), name);
      EXPECT_EQ(picker->nameFilters().mid(0, filters.size()), filters) << "others follow";
      EXPECT_EQ(picker->nameFilters().contains("All files (*)"), !saves);
      EXPECT_TRUE(picker->testOption(QFileDialog::DontConfirmOverwrite)) << "the command asks itself";
      EXPECT_TRUE(!saves || picker->directory().path() + "/" == QString::fromStdString(folder)) << "beside the map";
      if (!saves) dialog->accept();
      EXPECT_TRUE(picker->isVisible()) << "the default name is no file";
      picker->reject();
    });
    if (name == std::string("*.map")) someone.answer("OK");  // no input file
    choose(command);
  }
}

TEST_F(WindowTest, CommandsAreEnabledWhenTheyHaveWhatTheyNeed) {
  const char* const needMap[] = {"mnuvc", "mnuwc", "mnurs", "mnucm", "mnuwmt", "mwgcm"};
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
  const auto recent = [this] { return part<QMenu>(window.get(), "recent")->actions(); };
  ASSERT_EQ(recent().size(), 1);
  someone.answer("OK");
  recent()[0]->trigger();
  EXPECT_EQ(driver.inputPath, folder + "wales.map");
  EXPECT_TRUE(driver.offeredPath.empty());
  EXPECT_NE(panel().find("5.45\n\nwales.map:\n"), std::string::npos) << panel();
  std::filesystem::remove(folder + "wales.map");
  someone.answer("OK");
  recent()[0]->trigger();
  EXPECT_EQ(someone.seen.back(), "Vellandra|Missing file " + folder + "wales.map");
  EXPECT_FALSE(part<QMenu>(window.get(), "recent")->isEnabled());
}

TEST_F(WindowTest, CalibrationThatWasNotFinishedIsGoneOnWith) {
  const utimbuf times{0, 1'767'323'045};
  char time[99];
  (void)std::strftime(time, sizeof time, "%x %X", std::localtime(&times.modtime));
  const std::string mayGoOn = "Not finished|The calibration of ",
                    was = std::string(", 9 points of ") + time + ", was not finished : OK to go on with it else cancel";
  const std::string wales = mayGoOn + "wales.png" + was,
                    mayAbandon = "Not kept|Points not kept : OK to abandon them else cancel";
  HeldFile elsewhere(folder + "unfinished-1.txt");
  const auto fromClipboard = [] {
    dropUnfinished();
    mapImage.path = calibration.imagePath = clipboardImage;
    keepUnfinishedPicture();
    keepUnfinished(calibration);
    leaveUnfinished();
    mapImage = MapImage();
  };
  const struct {
    const char* name;
    std::function<void()> ends;  ///< the program that had kept its points
    std::string answers, seen;   ///< parted by ";"
    bool opens, stays;
    bool gives = true;  ///< what the viewer shows
  } rows[] = {
      {"goes on", leaveUnfinished, "OK", wales + ";calibrate", true, true},
      {"gives up in the viewer", leaveUnfinished, "OK", wales + ";calibrate", false, false, false},
      {"gives up", leaveUnfinished, "Cancel;OK", wales + ";" + mayAbandon, false, false},
      {"decides later", leaveUnfinished, "Cancel;Cancel", wales + ";" + mayAbandon, false, true},
      {"is at work elsewhere", [&] { leaveUnfinished(), elsewhere.takeOver(); }, "", "", false, true},
      {"is not the first",
       [&] { leaveUnfinished(), std::filesystem::rename(elsewhere.path(), folder + "unfinished-7.txt"); }, "OK",
       wales + ";calibrate", true, false},
      {"had no point yet", [&] { dropUnfinished(), writeTestFile(elsewhere.path(), ""); }, "", "", false, false},
      {"came from the clipboard", fromClipboard, "OK", mayGoOn + "clip.board" + was + ";calibrate", true, true},
      {"is damaged", [&] { leaveUnfinished(), std::filesystem::resize_file(elsewhere.path(), 300); }, "", "", false,
       true},
      {"has another image", [this] { leaveUnfinished(), makeImage("wales.png", 30, 20); }, "OK;OK",
       wales + ";Vellandra|The image is 30 x 20 now, the calibration is for 520 x 600", false, true},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    openWales();
    loadMapImage(calibration.imagePath);
    keepUnfinished(calibration);
    row.ends();
    for (const char* name : {"unfinished-1.txt", "unfinished-7.txt"}) (void)::utime((folder + name).c_str(), &times);
    calibration = Calibration();
    driver = Driver();
    onMap = [&] { return ViewerResult{row.gives, {}}; };
    for (const QString& answer : QString(row.answers.c_str()).split(';', Qt::SkipEmptyParts)) {
      someone.answer(answer.toStdString());
    }
    window->offerUnfinished();
    std::string seen;
    for (const std::string& text : someone.seen) seen += (seen.empty() ? "" : ";") + text;
    EXPECT_EQ(seen, row.seen);
    EXPECT_EQ(driver.calibrationPending, row.opens);
    EXPECT_EQ(exists("unfinished-1.txt"), row.stays);
    EXPECT_EQ(calibration.pointCount, row.opens ? 9 : 0);
    EXPECT_TRUE(!row.opens || (driver.inputPath == folder + "wales.map" && driver.transformValid));
    driver.calibrationPending = false;
    dropUnfinished();
    elsewhere.takeOver();
    elsewhere.remove();
  }
  EXPECT_FALSE(exists("unfinished-1.png"));
}

TEST_F(WindowTest, DroppedFileIsOpened) {
  QMimeData data;
  const auto enters = [&](const std::string& path) {
    data.setUrls(data.urls() << QUrl::fromLocalFile(QString::fromStdString(path)));
    QDragEnterEvent enter({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    enter.ignore();
    QApplication::sendEvent(window.get(), &enter);
    return enter.isAccepted();
  };
  const auto drop = [&] {
    QDropEvent event({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(window.get(), &event);
    QCoreApplication::processEvents();
  };
  ASSERT_TRUE(enters(folder + "readme.txt"));
  someone.answer("OK");
  drop();
  EXPECT_EQ(someone.seen, Seen{"No support|Unsupported calibration type"});
  // The calibration among others.
  ASSERT_TRUE(enters(folder + "wales.png"));
  ASSERT_TRUE(enters(folder + "wales.map"));
  drop();
  EXPECT_TRUE(driver.calibrationPending);
}

}  // namespace
}  // namespace vellandra

#include <QElapsedTimer>
#include <QProgressBar>
#include <thread>

#include "support/work.h"
#include "ui/dialogs/work_dialog.h"
#include "ui/window_fixture.h"

namespace vellandra {
namespace {

using namespace std::chrono_literals;

class WorkTest : public WindowTest {
 protected:
  WorkTest() { unseenWork = 0ms; }
  ~WorkTest() override {
    endWorkDisplay();
    unseenWork = 400ms;
  }

  QDialog* display() const { return window->findChild<QDialog*>("work"); }

  /// Work that goes on until it is cancelled.
  void workOn() const {
    interface->doWork("Loading a map", [] {
      while (true) {
        endIfCancelled();
        showProgress(1, 4);
        std::this_thread::sleep_for(1ms);
      }
    });
  }
};

/// The viewer's command gets work to do, and the person does something when the display is up.
TEST_F(WorkTest, EndsByWhateverEndsIt) {
  const std::pair<const char*, std::function<void()>> ways[] = {
      {"Cancel", [this] { click(display(), "Cancel"); }},
      {"Escape", [this] { QTest::keyClick(display(), Qt::Key_Escape); }},
      {"Escape in the window", [this] { QTest::keyClick(window.get(), Qt::Key_Escape); }},
      {"closing the display", [this] { display()->close(); }},
      {"closing the window", [this] { window->close(); }}};
  openWales();
  driver.calibrationPending = false;
  QObject::connect(part<QPushButton>(window.get(), "secondButton"), &QPushButton::clicked,
                   [] { ADD_FAILURE() << "a click came through"; });
  for (const auto& [name, end] : ways) {
    SCOPED_TRACE(name);
    window->show();
    int looks = 0;
    QTimer looking;
    QObject::connect(&looking, &QTimer::timeout, &looking, [&, end = end] {
      if (display() == nullptr || ++looks < 20) return;
      EXPECT_EQ(part<QLabel>(display(), "title")->text(), looks == 20 ? "Loading a map" : "Ending...");
      EXPECT_EQ(part<QProgressBar>(display(), "progress")->value() * 4,
                part<QProgressBar>(display(), "progress")->maximum());
      // Nothing else can be done meanwhile.
      QTest::mouseClick(part<QPushButton>(window.get(), "secondButton"), Qt::LeftButton);
      QTest::keyClick(window.get(), Qt::Key_S, Qt::ControlModifier);
      choose("mnuabout");
      if (looks == 20) end();
    });
    looking.start(5);
    onMap = [this]() -> ViewerResult { return workOn(), ViewerResult(); };
    choose("mnuvc");
    EXPECT_TRUE(panel().ends_with("Cancelled")) << panel();
    EXPECT_EQ(display(), nullptr);
    EXPECT_FALSE(exists("wales.gmi"));
    EXPECT_EQ(window->isVisible(), std::string(name) != "closing the window");
  }
  window->show();
  onMap = [this]() -> ViewerResult {
    interface->doWork("Failing", [] { throw SubscriptOutOfRange("point 51"); });
    return {};
  };
  choose("mnuvc");
  EXPECT_TRUE(panel().ends_with("Subscript out of range\npoint 51")) << panel();
}

TEST_F(WorkTest, WhatAHandlerThrowsIsShownOnceAndTheCommandGoesOn) {
  openWales();
  driver.calibrationPending = false;
  onMap = [this]() -> ViewerResult {
    keepUnfinished(calibration);
    QEventLoop loop;
    for (int i = 0; i < 3; ++i) QTimer::singleShot(0, window.get(), [] { throw SubscriptOutOfRange("point 51"); });
    QTimer::singleShot(300, &loop, &QEventLoop::quit);
    someone.answer("OK");
    loop.exec();
    // While work goes on no box could be answered.
    QTimer::singleShot(20, window.get(), [] { throw SubscriptOutOfRange("point 52"); });
    QTimer::singleShot(600, &loop, &QEventLoop::quit);
    someone.answer("OK");
    interface->doWork("Loading a map", [] { std::this_thread::sleep_for(200ms); });
    loop.exec();
    EXPECT_TRUE(isUnfinishedKept());
    return {};
  };
  choose("mnuvc");
  const std::string box = "***** Error *****|Subscript out of range: point 5";
  EXPECT_EQ(someone.seen, (Seen{"view", box + "1", box + "2"}));
  EXPECT_TRUE(panel().ends_with("point 52"));
  EXPECT_TRUE(driver.transformValid);
}

TEST_F(WindowTest, AFolderIsConvertedAndOneAnswerServesAllFilesThatAreThere) {
  openWales();
  keepUnfinished(calibration);
  const std::string map = contentOf(folder + "wales.map");
  const std::string before = calibration.imagePath;
  for (const char* name : {"other.map", "third.map"}) writeTestFile(folder + name, map);
  for (const char* name : {"other.gmi", "third.gmi"}) writeTestFile(folder + name, "old");
  writeTestFile(folder + "empty.map", std::string(map).replace(map.find(",xy,") + 4, 5, "50000"));
  const Seen seen = {"Convert the calibrations of a folder", "Vellandra|OK to overwrite " + folder + "other.gmi",
                     "Convert a folder"};
  for (const bool cancelled : {true, false}) {
    someone.seen.clear();
    someone.answer(folder);
    someone.use([&](QDialog* dialog) {
      if (cancelled) static_cast<QDialog*>(dialog->parentWidget())->reject();
      click(dialog, "Yes to All");
    });
    someone.use([&](QDialog* dialog) {
      EXPECT_EQ(part<QLabel>(dialog, "step")->text(),
                QString(cancelled ? "Cancelled: 3 of 4 are left as they were" : "All are done") +
                    "; 1 could not be converted");
      click(dialog, "copy");
      dialog->reject();
    });
    choose("mnufolder");
    EXPECT_EQ(someone.seen, seen);
    const std::string list = QApplication::clipboard()->text().toStdString();
    EXPECT_TRUE(list.starts_with("file\tdatum\tpoints\troot mean square\twritten\tkept\twhy not\nempty.map\t")) << list;
    EXPECT_NE(list.find("\tOverflow: pixel 50000"), std::string::npos) << list;
    EXPECT_EQ(list.find("other.map\tORD SRVY GRT BRITN\t9\t") == std::string::npos, cancelled) << list;
    EXPECT_EQ(contentOf(folder + "third.gmi") == "old", cancelled);
    EXPECT_EQ(exists("other.tfw"), !cancelled);  // written before the question
    EXPECT_EQ(calibration.imagePath, before) << "the open map";
    EXPECT_TRUE(preferences.warnOverwrite && driver.calibrationPending && action("mnuwc")->isEnabled());
  }
  EXPECT_TRUE(isUnfinishedKept());
}

}  // namespace
}  // namespace vellandra

#pragma once

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QLabel>
#include <QPlainTextEdit>
#include <QTest>
#include <array>
#include <cstdlib>
#include <memory>

#include "core_fixture.h"
#include "ui/dialogs/calibration_settings.h"
#include "ui/main_window.h"
#include "ui/person.h"
#include "ui/window_interface.h"

namespace vellandra {

using Seen = std::vector<std::string>;

/// The windows' own state as new, in the test's folder.
class UiTest : public CoreTest {
 public:
  UiTest() {
    (void)setenv("VELLANDRA_HOME", folder.c_str(), 1);
    lastCalibrationSettings = CalibrationSettings();
    for (const char* name : {"tick.png", "cross.png"}) copy(SOURCE_FOLDER "/data/", name);
    writeTestFile(folder + "readme.txt", contentOf(SOURCE_FOLDER "/data/readme.txt.in"));
  }
  ~UiTest() override {
    QCoreApplication::sendPostedEvents();
    (void)unsetenv("VELLANDRA_HOME");
  }

  using CoreTest::folder;
  using CoreTest::makeImage;
  void copy(const std::string& from, const std::string& name) const {
    std::filesystem::copy_file(from + name, folder + name, std::filesystem::copy_options::overwrite_existing);
  }
  bool exists(const std::string& name) const { return std::filesystem::exists(folder + name); }
};

/// The main window over the sample map "wales", and a viewer that does what `onMap` says.
class WindowTest : public UiTest {
 public:
  WindowTest() {
    for (const char* name : {"wales.map", "wales.png", "wales.tfw"}) copy(SOURCE_FOLDER "/samples/wales/", name);
    QApplication::clipboard()->clear();
    window = std::make_unique<MainWindow>([this](QWidget*, ViewerMode mode) {
      someone.seen.emplace_back(std::array{"calibrate", "view", "crop"}.at(static_cast<std::size_t>(mode)));
      return onMap ? onMap() : ViewerResult();
    });
    interface = std::make_unique<WindowInterface>(window.get());
    setUserInterface(*interface);
    window->show();
  }

  QAction* action(const char* name) const { return window->findChild<QAction*>(name); }
  void choose(const char* name) const { action(name)->trigger(); }
  std::string panel() const { return part<QPlainTextEdit>(window.get(), "message")->toPlainText().toStdString(); }

  /// Opens the sample without a question.
  void openWales() {
    someone.answer(folder + "wales.map");
    choose("mnufo");
    someone.seen.clear();
    ASSERT_TRUE(driver.calibrationPending);
  }

  WindowPerson someone;
  std::function<ViewerResult()> onMap;  ///< what the person does in the map viewer, which is seen by its mode
  std::unique_ptr<MainWindow> window;
  std::unique_ptr<WindowInterface> interface;
};

}  // namespace vellandra

#pragma once

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QPlainTextEdit>
#include <QTest>
#include <cstdlib>
#include <memory>

#include "core_fixture.h"
#include "ui/main_window.h"
#include "ui/person.h"
#include "ui/window_interface.h"

namespace vellandra {

/// The main window over a folder of its own, with the sample map "wales" and a viewer that does what `onMap` says.
class WindowTest : public CoreTest {
 protected:
  WindowTest() {
    (void)setenv("VELLANDRA_HOME", folder.c_str(), 1);
    for (const char* name : {"wales.map", "wales.png", "wales.tfw"}) copy(SOURCE_FOLDER "/samples/wales/", name);
    copy(SOURCE_FOLDER "/data/", "readme.txt");
    QApplication::clipboard()->clear();
    window = std::make_unique<MainWindow>([this](QWidget*, ViewerMode mode) {
      modes.push_back(mode);
      return onMap ? onMap() : ViewerResult();
    });
    interface = std::make_unique<WindowInterface>(window.get());
    setUserInterface(*interface);
    window->show();
  }
  ~WindowTest() override {
    QCoreApplication::sendPostedEvents();
    (void)unsetenv("VELLANDRA_HOME");
  }

  void copy(const std::string& from, const std::string& name) const {
    std::filesystem::copy_file(from + name, folder + name, std::filesystem::copy_options::overwrite_existing);
  }
  QAction* action(const char* name) const { return window->findChild<QAction*>(name); }
  void choose(const char* name) const { action(name)->trigger(); }
  std::string panel() const { return window->findChild<QPlainTextEdit*>("message")->toPlainText().toStdString(); }
  bool exists(const std::string& name) const { return std::filesystem::exists(folder + name); }

  /// Opens the sample without a question.
  void openWales() {
    someone.pick(folder + "wales.map");
    choose("mnufo");
    someone.seen.clear();
    ASSERT_TRUE(driver.calibrationPending);
  }

  WindowPerson someone;
  std::function<ViewerResult()> onMap;  ///< what the person does in the map viewer
  std::vector<ViewerMode> modes;        ///< in which it was opened
  std::unique_ptr<MainWindow> window;
  std::unique_ptr<WindowInterface> interface;
};

using Seen = std::vector<std::string>;

}  // namespace vellandra

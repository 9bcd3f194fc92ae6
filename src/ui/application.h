#pragma once

#include <QApplication>
#include <exception>
#include <string>

namespace vellandra {

/// Qt's loop of events, out of which no exception comes: what a handler throws goes to the panel and the log as an
/// error that ends a command does, and is shown in a box, once. The windows and what was done in them stay.
class Application : public QApplication {
 public:
  using QApplication::QApplication;
  bool notify(QObject* receiver, QEvent* event) override;

 private:
  void report(const std::exception_ptr& thrown);
  void showOnce(const std::string& text);
  void showAfter(int milliseconds, const std::string& text);

  std::exception_ptr thrown_;  ///< to be told when the work beside the windows is done
  std::string shown_;          ///< what is thrown at every drawing of a window is shown once
};

}  // namespace vellandra

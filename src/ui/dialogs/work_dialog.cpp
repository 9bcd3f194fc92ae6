#include "ui/dialogs/work_dialog.h"

#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QEventLoop>
#include <QKeyEvent>
#include <QLabel>
#include <QPointer>
#include <QProgressBar>
#include <QTimer>
#include <QVBoxLayout>
#include <exception>

#include "support/threads.h"
#include "ui/widgets/qt_text.h"

namespace vellandra {

std::chrono::milliseconds unseenWork{400};

namespace {

constexpr std::chrono::milliseconds lookEvery{80};
constexpr int steps = 1000;  // of the bar

/// What is seen of work that takes long.
class WorkDialog : public QDialog {
 public:
  explicit WorkDialog(QWidget* parent) : QDialog(parent), title_(new QLabel), bar_(new QProgressBar) {
    setObjectName("work");
    setWindowTitle("Vellandra");
    title_->setObjectName("title");
    title_->setTextFormat(Qt::PlainText);
    bar_->setObjectName("progress");
    bar_->setAccessibleName("Progress");
    bar_->setMinimumWidth(fontMetrics().averageCharWidth() * 50);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(title_);
    layout->addWidget(bar_);
    layout->addWidget(buttons);
    layout->setSizeConstraint(QLayout::SetMinimumSize);
  }

  void begin(const QString& title, Work* work) {
    work_ = work;
    title_->setText(breakable(title));
    bar_->setRange(0, 0);
    setEnabled(true);
  }
  void end() { work_ = nullptr; }

  void showProgress(int done, int total) {
    if (total == 0) return;
    bar_->setRange(0, total);
    bar_->setValue(done);
  }

  /// The dialog goes when the command ends.
  void reject() override {
    if (work_ == nullptr) return;
    work_->cancel();
    title_->setText("Ending...");
    setEnabled(false);
  }

 private:
  QLabel* title_;
  QProgressBar* bar_;
  Work* work_ = nullptr;
};

QPointer<WorkDialog>& display() {
  static QPointer<WorkDialog> dialog;
  return dialog;
}

int underWay = 0;

/// Work as the windows see it.
class WindowWork : public QObject, public Work {
 public:
  WindowWork(QWidget* window, const std::string& title, const ShowProgress& showProgress)
      : window_(window), title_(shown(title)), showProgress_(showProgress) {
    if (display() != nullptr) display()->begin(title_, this);
    connect(&timer_, &QTimer::timeout, this, &WindowWork::look);
    timer_.start(lookEvery);
    qApp->installEventFilter(this);
    QApplication::setOverrideCursor(Qt::BusyCursor);
    ++underWay;
  }
  WindowWork(const WindowWork&) = delete;
  WindowWork& operator=(const WindowWork&) = delete;
  ~WindowWork() override {
    --underWay;
    QApplication::restoreOverrideCursor();
    showProgress_(0, 0);
    if (display() != nullptr) display()->end();
  }

  void show(std::int64_t done, std::int64_t total) override {
    if (total > 0) progress_ = static_cast<int>(std::clamp<std::int64_t>(done * steps / total, 0, steps));
  }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override {
    const auto* dialog = display().data();
    auto* widget = qobject_cast<QWidget*>(watched);
    const bool ours = widget != nullptr && dialog != nullptr && (widget == dialog || dialog->isAncestorOf(widget));
    switch (event->type()) {
      case QEvent::Close:
        if (widget != nullptr && !ours) end();
        return false;
      case QEvent::KeyPress:
        if (widget != nullptr && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) end();
        [[fallthrough]];
      case QEvent::KeyRelease:
      case QEvent::ShortcutOverride:
      case QEvent::MouseButtonPress:
      case QEvent::MouseButtonRelease:
      case QEvent::MouseButtonDblClick:
      case QEvent::Wheel:
      case QEvent::ContextMenu:
      case QEvent::TouchBegin:
      case QEvent::DragEnter:
      case QEvent::Drop:
        return widget != nullptr && !ours;  // what comes to a window of the system goes on to a widget
      case QEvent::Shortcut:
        return !ours;
      default:
        return false;
    }
  }

 private:
  void end() {
    if (display() != nullptr) {
      display()->reject();
    } else {
      cancel();
    }
  }

  void look() {
    if (display() == nullptr) {
      if (std::chrono::steady_clock::now() - begun_ < unseenWork) return;
      display() = new WorkDialog(window_);
      display()->begin(title_, this);
      if (isCancelled()) display()->reject();
      display()->show();
    }
    const int done = progress_;
    if (done < 0) return;
    display()->showProgress(done, steps);
    showProgress_(done, steps);
  }

  QWidget* window_;
  QString title_;
  const ShowProgress& showProgress_;
  QTimer timer_;
  std::atomic<int> progress_ = -1;
  std::chrono::steady_clock::time_point begun_ = std::chrono::steady_clock::now();
};

}  // namespace

void doWorkBeside(QWidget* window, const std::string& title, const std::function<void()>& work,
                  const ShowProgress& showProgress) {
  WindowWork windowWork(window, title, showProgress);
  std::exception_ptr thrown;
  QEventLoop loop;
  const auto doIt = [&] {
    const AtWork atWork(&windowWork);
    try {
      work();
    } catch (...) {
      thrown = std::current_exception();
    }
    QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
  };
  std::thread thread;
  try {
    thread = startThread(doIt);
  } catch (const std::exception&) {
    return work();  // the windows have to wait
  }
  loop.exec();
  thread.join();
  if (thrown) std::rethrow_exception(thrown);
  if (!windowWork.settle()) throw Cancelled();
}

bool isWorkUnderWay() {
  return underWay > 0;
}

void endWorkDisplay() {
  delete display().data();
}

}  // namespace vellandra

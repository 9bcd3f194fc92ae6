#include "ui/window_interface.h"

#include <QApplication>
#include <QClipboard>
#include <QGridLayout>
#include <QImage>
#include <QInputDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <algorithm>

#include "calibration/calibration.h"
#include "imaging/map_image.h"
#include "ui/commands.h"
#include "ui/dialogs/file_dialog.h"
#include "ui/dialogs/garmin_dialog.h"
#include "ui/dialogs/match_dialog.h"
#include "ui/dialogs/merge_dialog.h"
#include "ui/dialogs/tfw_dialog.h"
#include "ui/dialogs/work_dialog.h"
#include "ui/main_window.h"
#include "ui/widgets/qt_text.h"

namespace vellandra {
namespace {

constexpr int longestPictureSide = 1600;  // pixels, of a map scaled down for a dialog

/// The normal pointer while a dialog is open in the middle of busy work.
class NormalPointer {
 public:
  explicit NormalPointer(int busy) : busy_(busy > 0) {
    if (busy_) QApplication::restoreOverrideCursor();
  }
  NormalPointer(const NormalPointer&) = delete;
  NormalPointer& operator=(const NormalPointer&) = delete;
  ~NormalPointer() {
    if (busy_) QApplication::setOverrideCursor(Qt::WaitCursor);
  }

 private:
  bool busy_;
};

QMessageBox::StandardButtons standardButtons(Buttons buttons) {
  switch (buttons) {
    case Buttons::okCancel:
      return QMessageBox::Ok | QMessageBox::Cancel;
    case Buttons::yesNo:
      return QMessageBox::Yes | QMessageBox::No;
    case Buttons::ok:
      break;
  }
  return QMessageBox::Ok;
}

QMessageBox::Icon standardIcon(const MessageBox& box) {
  switch (box.icon) {
    case Icon::question:
      return QMessageBox::Question;
    case Icon::warning:
      return QMessageBox::Warning;
    case Icon::error:
      return QMessageBox::Critical;
    case Icon::none:
      break;
  }
  return QMessageBox::NoIcon;
}

/// A box is as wide as its text; a short one would cut its own title off, which shares its line with the frame's
/// buttons.
void makeRoomForTitle(QMessageBox& box) {
  constexpr int frameButtons = 20;  // average characters
  QFont titleFont = QApplication::font();
  titleFont.setBold(true);
  const QFontMetrics metrics(titleFont);
  const int width = metrics.horizontalAdvance(box.windowTitle()) + frameButtons * metrics.averageCharWidth();
  if (auto* grid = qobject_cast<QGridLayout*>(box.layout())) {
    grid->addItem(new QSpacerItem(width, 0), grid->rowCount(), 0, 1, grid->columnCount());
  }
}

}  // namespace

QWidget* WindowInterface::parent() const {
  endWorkDisplay();
  QWidget* modal = QApplication::activeModalWidget();
  return modal != nullptr ? modal : window_;
}

Answer WindowInterface::messageBox(const MessageBox& box) {
  const NormalPointer normal(busy_);
  QMessageBox dialog(standardIcon(box), shown(box.title), breakable(shown(box.text)), standardButtons(box.buttons),
                     parent());
  dialog.setTextFormat(Qt::PlainText);
  dialog.setTextInteractionFlags(Qt::TextSelectableByMouse);
  makeRoomForTitle(dialog);
  if (box.buttons == Buttons::yesNo) {
    dialog.setEscapeButton(QMessageBox::No);
    dialog.setDefaultButton(box.prefersNo ? QMessageBox::No : QMessageBox::Yes);
  }
  const int pressed = dialog.exec();
  if (box.buttons == Buttons::yesNo) return pressed == QMessageBox::Yes ? Answer::yes : Answer::no;
  return pressed == QMessageBox::Ok ? Answer::ok : Answer::cancel;
}

std::string WindowInterface::askOpenFile(const FilePicker& picker) {
  const NormalPointer normal(busy_);
  return pickFile(parent(), picker, false);
}

std::string WindowInterface::askSaveFile(const FilePicker& picker) {
  const NormalPointer normal(busy_);
  return pickFile(parent(), picker, true);
}

int WindowInterface::chooseDatum(const std::string& prompt, const std::vector<std::string>& names) {
  const NormalPointer normal(busy_);
  MatchDialog dialog(parent(), prompt, names);
  return dialog.exec() == QDialog::Accepted ? dialog.chosen() : 0;
}

WorldFileAnswer WindowInterface::askWorldFile(const std::string& lines, const std::vector<std::string>& zones) {
  const NormalPointer normal(busy_);
  TfwDialog dialog(parent(), lines, zones);
  dialog.exec();
  return dialog.answer();
}

void WindowInterface::askMerge(MergeQuestion& question) {
  if (window_ == nullptr) return;
  endWorkDisplay();
  auto* open = static_cast<MergeDialog*>(window_->findChild<QDialog*>(MergeDialog::name));
  MergeDialog* dialog = open != nullptr ? open : new MergeDialog(window_);
  question.answer = dialog->ask(question);
}

void WindowInterface::askGarminTiles(TileControls& controls) {
  const NormalPointer normal(busy_);
  const bool inMemory = isOnShow(calibration.imagePath);
  const Bitmap loaded = inMemory ? Bitmap() : asColors(LoadImageByExtension(calibration.imagePath));
  const Bitmap& map = inMemory ? mapImage.bitmap : loaded;
  if (!map) return tell("Unable to load map");
  const Picture picture = runWork("Scaling the map down", [&map] { return pictureOf(map, longestPictureSide); });
  showGarminTileControls(parent(), picture, controls);
}

void WindowInterface::askRectangle(PixelRectangle& part) {
  if (window_ != nullptr && showOpenMap()) part = window_->view(ViewerMode::crop).crop;
}

std::optional<std::string> WindowInterface::askText(const std::string& prompt, const std::string& initial) {
  const NormalPointer normal(busy_);
  QInputDialog dialog(parent());
  dialog.setObjectName("text");
  dialog.setWindowTitle("Vellandra");
  dialog.setLabelText(shown(prompt));
  dialog.setTextValue(shown(initial));
  dialog.findChild<QLineEdit*>()->setAccessibleName(shown(prompt));
  if (dialog.exec() != QDialog::Accepted) return std::nullopt;
  return textBytes(dialog.textValue());
}

void WindowInterface::showPanel(const std::string& message) {
  if (window_ != nullptr) window_->showPanel(shown(message));
}

void WindowInterface::doWork(const std::string& title, const std::function<void()>& work) {
  const NormalPointer normal(busy_);
  QWidget* modal = QApplication::activeModalWidget();
  doWorkBeside(modal != nullptr ? modal : window_, title, work, [this](int done, int total) {
    if (window_ != nullptr) window_->showProgress(done, total);
  });
}

void WindowInterface::showBusy(bool busy) {
  busy_ = std::max(0, busy_ + (busy ? 1 : -1));
  if (busy && busy_ == 1) QApplication::setOverrideCursor(Qt::WaitCursor);
  if (!busy && busy_ == 0) QApplication::restoreOverrideCursor();
}

void WindowInterface::setMenuStates(const MenuStates& states) {
  if (window_ != nullptr) window_->setMenuStates(states);
}

Picture WindowInterface::clipboardPicture() {
  const QImage copied = QApplication::clipboard()->image();
  return runWork("Taking the picture", [&copied] {
    const QImage image = copied.convertToFormat(QImage::Format_BGR888);
    Picture picture{image.width(), image.height(), {}};
    const qsizetype rowBytes = qsizetype{3} * image.width();
    picture.pixels.reserve(static_cast<std::size_t>(rowBytes * image.height()));
    for (int y = 0; y < image.height(); ++y) {
      const uchar* row = image.constScanLine(y);
      picture.pixels.insert(picture.pixels.end(), row, row + rowBytes);
    }
    return picture;
  });
}

std::string WindowInterface::clipboardText() {
  return textBytes(QApplication::clipboard()->text());
}

}  // namespace vellandra

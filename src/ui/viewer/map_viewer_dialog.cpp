#include "ui/viewer/map_viewer_dialog.h"

#include <QAbstractButton>
#include <QAbstractSpinBox>
#include <QKeyEvent>

#include "calibration/driver.h"
#include "calibration/unfinished.h"
#include "raster/bitmap.h"
#include "support/numbers.h"
#include "support/paths.h"
#include "support/user_interface.h"
#include "ui/dialogs/adjust_point.h"
#include "ui/viewer/map_canvas.h"
#include "ui/viewer/point_entry.h"
#include "ui/viewer/point_grids.h"
#include "ui/widgets/qt_text.h"

namespace vellandra {
namespace {

constexpr const char* notKept = "Not kept";

/// The record as the viewer works on it: its size is that of the picture on show, where the record has none.
Calibration startingRecord(const Bitmap& image) {
  Calibration map = calibration;
  if (map.imageWidth == 0) map.imageWidth = toInt16(image.width());
  if (map.imageHeight == 0) map.imageHeight = toInt16(image.height());
  return map;
}

QString titleOf(ViewerMode mode) {
  const QString name = shownPath(std::string(fileName(calibration.imagePath)));
  const QString what = mode == ViewerMode::calibrate ? "Calibrate map"
                       : mode == ViewerMode::view    ? "View calibrated map"
                                                     : "Crop map";
  return name.isEmpty() ? what : what + " - " + name;
}

}  // namespace

MapViewerDialog::MapViewerDialog(ViewerMode mode, const Bitmap& image, QWidget* parent)
    : QDialog(parent),
      mode_(mode),
      image_(image),
      session_(mode, startingRecord(image), driver.fixedPair()),
      crop_(image.width(), image.height()) {
  setWindowTitle(titleOf(mode));
  setWindowFlag(Qt::WindowMaximizeButtonHint);
  setModal(true);
  build();
  connectCanvas();
  constexpr int rest = 300;  // ms
  keepLater_.setSingleShot(true);
  keepLater_.setInterval(rest);
  connect(&keepLater_, &QTimer::timeout, this, &MapViewerDialog::keepPoints);
  pointsChanged();
  canvas_->setFocus();
}

MapViewerDialog::~MapViewerDialog() = default;

void MapViewerDialog::followInstruction() {
  switch (session_.instruction()) {
    case Instruction::start:
      if (chooseSettings()) {
        session_.startPlacing();
        canvas_->setPlacing(true);
        pointsChanged();
      }
      canvas_->setFocus();
      break;
    case Instruction::clickMap:
      canvas_->setFocus();
      break;
    case Instruction::finish:
      accept();
      break;
  }
}

bool MapViewerDialog::chooseSettings() {
  // First those of the map's own points: on another datum new ones would lie beside them.
  CalibrationSettingsDialog dialog(settingsChosen_ ? lastCalibrationSettings : mapGrid(), this);
  if (dialog.exec() != QDialog::Accepted) return false;
  settingsChosen_ = true;
  lastCalibrationSettings = dialog.settings();
  entry_->setSettings(withOwnDatum(lastCalibrationSettings));
  return true;
}

void MapViewerDialog::placeAt(int x, int y) {
  if (!session_.isPlacing() || (correcting_ != 0 && !dropEntry())) return;
  if (session_.isFull()) {
    tell("At most " + std::to_string(maxTiePoints) + " points");
    return;
  }
  const bool moves = session_.waiting().has_value();
  if (moves && entry_->isTouched() &&
      !askOkCancel("Coordinates typed for another place : OK to take them to this one else cancel", "Another place")) {
    entry_->takeFocus();
    return;
  }
  session_.wait(x, y);
  if (!moves) {
    entry_->setSettings(withOwnDatum(lastCalibrationSettings));
    entry_->show();
    entry_->begin(static_cast<int>(session_.points().size()) + 1);
  } else {
    entry_->takeFocus();
  }
  pointsChanged();
}

void MapViewerDialog::takeCoordinates(double latitude, double longitude, const PointGrid& grid) {
  if (correcting_ != 0) {
    // What is shown is rounded, and brought within 180 degrees: unchanged, it is not to take the point's place.
    if (entry_->isTouched()) session_.correct(correcting_, latitude, longitude, grid);
  } else {
    session_.giveCoordinates(latitude, longitude, grid);
    selected_ = static_cast<int>(session_.points().size());
  }
  correcting_ = 0;
  entry_->hide();
  canvas_->setFocus();
  pointsChanged();
}

/// Leaves the point out that is being entered, asking when something has been typed. False when it is kept.
bool MapViewerDialog::dropEntry() {
  canvas_->letGo();
  if (!entry_->isHidden() && entry_->isTouched() &&
      !askOkCancel("Coordinates not used : OK to leave them out else cancel", notKept)) {
    return false;
  }
  session_.dropWaiting();
  correcting_ = 0;
  entry_->hide();
  canvas_->setFocus();
  pointsChanged();
  return true;
}

void MapViewerDialog::correctSelected() {
  if (selected_ == 0 || !dropEntry()) return;
  const TiePoint point = session_.points().at(static_cast<std::size_t>(selected_ - 1));
  correcting_ = selected_;
  const PositionFields fields = fieldsOf(point);
  entry_->setSettings(fields.grid);
  entry_->show();
  entry_->beginCorrection(correcting_, fields);
  pointsChanged();
}

void MapViewerDialog::adjustPoint(int number) {
  if (number == 0 || !dropEntry()) return;
  select(number);
  AdjustPointDialog dialog(number, this);
  dialog.setReport(reportOf(number));
  const std::size_t before = session_.stepCount();
  const MapView viewBefore = canvas_->view();
  showPoint(number);
  session_.beginMove();
  connect(&dialog, &AdjustPointDialog::moved, this, [&](int right, int down) {
    const TiePoint point = session_.points().at(static_cast<std::size_t>(number - 1));
    session_.moveTo(number, point.x + right, point.y + down);
    pointsChanged();
    showPoint(number);
    dialog.setReport(reportOf(number));
  });
  // Beside the map, so that the mark can be watched.
  dialog.move(mapToGlobal(QPoint(width() - dialog.sizeHint().width() - 40, 90)));
  const bool accepted = dialog.exec() == QDialog::Accepted;
  canvas_->setView(viewBefore);
  if (!accepted) {
    session_.takeBackTo(before);
    pointsChanged();
  } else if (dialog.wantsDeletion()) {
    removeSelected();
  }
}

void MapViewerDialog::removeSelected() {
  if (selected_ == 0 || !dropEntry()) return;
  session_.remove(selected_);
  selected_ = 0;
  pointsChanged();
}

void MapViewerDialog::undo() {
  canvas_->letGo();
  if (!entry_->isHidden()) {
    dropEntry();
    return;
  }
  session_.undo();
  pointsChanged();
}

void MapViewerDialog::redo() {
  canvas_->letGo();
  if (!entry_->isHidden()) return;
  session_.redo();
  pointsChanged();
}

void MapViewerDialog::switchPoint(int number, bool off) {
  session_.switchPoint(number, off);
  pointsChanged();
}

void MapViewerDialog::select(int number) {
  selected_ = number;
  pointsChanged();
}

/// Near enough to adjust it by single pixels.
void MapViewerDialog::showPoint(int number) {
  const TiePoint& point = session_.points().at(static_cast<std::size_t>(number - 1));
  canvas_->closeUp(point.x, point.y);
}

void MapViewerDialog::nudge(int right, int down) {
  if (selected_ == 0) return;
  const TiePoint point = session_.points().at(static_cast<std::size_t>(selected_ - 1));
  session_.beginMove();
  session_.moveTo(selected_, point.x + right, point.y + down);
  pointsChanged();
  showPoint(selected_);
}

void MapViewerDialog::pointsChanged() {
  if (mode_ == ViewerMode::crop) {
    showCrop();
    return;
  }
  if (selected_ > static_cast<int>(session_.points().size())) selected_ = 0;
  showPoints();
  // While one point is on its way, what the disk takes would make it stutter.
  if (session_.stepCount() != keptStep_) {
    keepPoints();
  } else {
    keepLater_.start();
  }
}

void MapViewerDialog::keepPoints() {
  keptStep_ = session_.stepCount();
  if (!session_.changed() && !isUnfinishedKept()) return;
  Calibration map = calibration;
  session_.commit(map);
  keepUnfinished(map);
}

void MapViewerDialog::accept() {
  if (mode_ == ViewerMode::crop) {
    if (crop_.pixels().isEmpty()) return;
    result_.crop = crop_.pixels();
    QDialog::accept();
    return;
  }
  if (!entry_->isHidden()) {
    if (entry_->isTouched()) {
      if (!dropEntry()) return;
    } else if (session_.waiting() &&
               !askOkCancel("Point without coordinates : OK to leave it out else cancel", notKept)) {
      return;
    }
  }
  if (session_.changed()) {
    keepPoints();
    session_.commit(calibration);
    result_.recalculate = true;
  }
  QDialog::accept();
}

void MapViewerDialog::reject() {
  if (mode_ != ViewerMode::crop) {
    const bool unfinished = session_.waiting().has_value() || (!entry_->isHidden() && entry_->isTouched());
    if ((session_.changed() || unfinished) && !askOkCancel("Points not kept : OK to abandon them else cancel", notKept))
      return;
  }
  QDialog::reject();
}

void MapViewerDialog::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
    if (auto* button = qobject_cast<QAbstractButton*>(focusWidget())) {
      button->click();
    } else if (mode_ == ViewerMode::crop && qobject_cast<QAbstractSpinBox*>(focusWidget()) == nullptr) {
      accept();  // in a field Enter takes the number and no more
    }
    return;
  }
  if (event->key() == Qt::Key_Escape && mode_ != ViewerMode::crop && !entry_->isHidden()) {
    dropEntry();
    return;
  }
  if (event->matches(QKeySequence::Undo) && mode_ != ViewerMode::crop) {
    undo();
    return;
  }
  if (event->matches(QKeySequence::Redo) && mode_ != ViewerMode::crop) {
    redo();
    return;
  }
  if (event->key() == Qt::Key_Delete && mode_ != ViewerMode::crop) {
    removeSelected();
    return;
  }
  QDialog::keyPressEvent(event);
}

}  // namespace vellandra

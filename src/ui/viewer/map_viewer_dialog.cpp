#include "ui/viewer/map_viewer_dialog.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>

#include "calibration/driver.h"
#include "calibration/preferences.h"
#include "calibration/transform.h"
#include "calibration/unfinished.h"
#include "raster/bitmap.h"
#include "support/numbers.h"
#include "support/paths.h"
#include "support/user_interface.h"
#include "ui/dialogs/adjust_point.h"
#include "ui/viewer/map_canvas.h"
#include "ui/viewer/map_viewer_crop_panel.h"
#include "ui/viewer/point_entry.h"
#include "ui/viewer/point_grids.h"
#include "ui/viewer/point_list.h"
#include "ui/viewer/shown_position.h"
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

Position positionAtMiddle(const Calibration& map) {
  return positionAt(map, map.imageWidth / 2.0, map.imageHeight / 2.0);
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

void MapViewerDialog::showCrop() {
  cropPanel_->setPixels(crop_.pixels());
  done_->setEnabled(!crop_.pixels().isEmpty());
}

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
  CalibrationSettingsDialog dialog(lastCalibrationSettings, this);
  if (dialog.exec() != QDialog::Accepted) return false;
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
  // While one point is on its way, what the disk takes would make it stutter.
  if (session_.stepCount() != keptStep_) {
    keepPoints();
  } else {
    keepLater_.start();
  }
  if (selected_ > static_cast<int>(session_.points().size())) selected_ = 0;
  const TrialFit& fit = session_.fit();
  updateOverlay();
  entry_->setHemisphere(fit.valid ? std::optional(positionAtMiddle(fit.map).latitude < 0) : std::nullopt);
  updateMarks();
  updateList();
  updateFit();
  updateButtons();
  updateReadout();
}

PointGrid MapViewerDialog::mapGrid() const {
  return gridOfMost(session_.points(), withOwnDatum(lastCalibrationSettings));
}

void MapViewerDialog::keepPoints() {
  keptStep_ = session_.stepCount();
  if (!session_.changed() && !isUnfinishedKept()) return;
  Calibration map = calibration;
  session_.commit(map);
  keepUnfinished(map);
}

void MapViewerDialog::updateMarks() {
  std::vector<CanvasMark> marks;
  int number = 0;
  for (const TiePoint& point : session_.points()) {
    ++number;
    const auto fit = session_.fitOf(number);
    marks.push_back({point.x, point.y, QString::number(number),
                     number == selected_ ? CanvasMark::Look::selected : CanvasMark::Look::plain, point.off,
                     fit ? std::optional(ViewPoint{fit->x, fit->y}) : std::nullopt});
  }
  if (const auto waiting = session_.waiting()) {
    marks.push_back({static_cast<int>(waiting->x), static_cast<int>(waiting->y), QString::number(number + 1),
                     CanvasMark::Look::waiting, false, std::nullopt});
  }
  canvas_->setMarks(std::move(marks));
}

void MapViewerDialog::updateList() {
  PointList::Residuals residuals;
  for (int number = 1; number <= static_cast<int>(session_.points().size()); ++number) {
    const auto fit = session_.fitOf(number);
    residuals.push_back(fit ? std::optional(fit->residual) : std::nullopt);
  }
  list_->setPoints(session_.points(), residuals, selected_);
}

void MapViewerDialog::updateFit() {
  fit_->setText(shown(fitReport(session_.fit(), session_.pointsOn())));
}

void MapViewerDialog::updateButtons() {
  instruction_->setText(instructionText(session_.instruction()));
  settingsButton_->setEnabled(session_.isPlacing() && entry_->isHidden());
  undo_->setEnabled(session_.canUndo() || session_.waiting().has_value());
  redo_->setEnabled(session_.canRedo() && entry_->isHidden());
  for (QPushButton* button : {adjust_, correct_, remove_}) button->setEnabled(selected_ > 0);
  if (mode_ == ViewerMode::calibrate) done_->setEnabled(session_.pointsOn() >= 2);
  if (mode_ == ViewerMode::view) {
    done_->setText(session_.changed() ? "&Done" : "&Close");
    cancel_->setVisible(session_.changed());
  }
}

QString MapViewerDialog::reportOf(int number) const {
  const auto index = static_cast<std::size_t>(number - 1);
  const TiePoint& point = session_.points().at(index);
  QString text = QString("Pixels : X %1 Y %2\nPosition : %3")
                     .arg(point.x)
                     .arg(point.y)
                     .arg(shownDegrees(point.latitude, point.longitude));
  if (point.grid.grid != EntryGrid::degrees) text += "\n" + nameOf(point.grid).kind + " : " + shownInItsGrid(point);
  if (const auto fit = session_.fitOf(number)) {
    text += QString("\nResidual %1 pixels").arg(shown(formatNumber(fit->residual, "0.00")));
  }
  return text;
}

void MapViewerDialog::showPixel(int x, int y) {
  pointedAt_ = ViewPoint{static_cast<double>(x), static_cast<double>(y)};
  updateReadout();
}

/// Position and grid reference on WGS 84 and, where the map's points were given in others, those as well.
void MapViewerDialog::updateReadout() {
  if (!pointedAt_) {
    readout_->clear();
    return;
  }
  const auto [x, y] = *pointedAt_;
  QString text = "Pixels : X " + shown(formatNumber(x, "#####0")) + " Y " + shown(formatNumber(y, "#####0"));
  if (session_.fit().valid) {
    const QString gap = "      ";
    const Position position = positionAt(session_.fit().map, x, y);
    const QString reference = shownGrid(position.latitude, position.longitude);
    text += gap + shownPosition(position.latitude, position.longitude) + gap + reference + gap + shown(wgs84Name);
    const PointGrid grid = mapGrid();
    const QString own = shownInItsGrid(
        {.latitude = position.latitude, .longitude = position.longitude, .datum = wgs84Name, .grid = grid});
    const bool known = grid == PointGrid() || (grid.datum == wgs84Name && own == reference);
    const GridName name = nameOf(grid);
    if (!known && !own.isEmpty()) text += gap + own + gap + (name.datum.isEmpty() ? name.kind : name.datum);
  }
  readout_->setText(text);
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
    } else if (mode_ == ViewerMode::crop) {
      accept();
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

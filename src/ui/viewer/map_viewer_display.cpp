#include <QLabel>
#include <QPushButton>

#include "calibration/transform.h"
#include "support/numbers.h"
#include "ui/dialogs/calibration_settings.h"
#include "ui/viewer/map_canvas.h"
#include "ui/viewer/map_viewer_crop_panel.h"
#include "ui/viewer/map_viewer_dialog.h"
#include "ui/viewer/point_entry.h"
#include "ui/viewer/point_grids.h"
#include "ui/viewer/point_list.h"
#include "ui/viewer/shown_position.h"
#include "ui/widgets/qt_text.h"

// What the window shows of the work: marks, list, fit, buttons and readout follow the session, the panel the rectangle.

namespace vellandra {
namespace {

Position positionAtMiddle(const Calibration& map) {
  return positionAt(map, map.imageWidth / 2.0, map.imageHeight / 2.0);
}

}  // namespace

void MapViewerDialog::showPoints() {
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
  fit_->setText(shown(fitReport(session_.fit(), session_.pointsOn(), session_.pointsOff())));
}

void MapViewerDialog::updateButtons() {
  instruction_->setText(instructionText(session_.instruction()));
  aboutPoints_->setVisible(!entryNeedsRoom_ || entry_->isHidden());
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

void MapViewerDialog::showCrop() {
  cropPanel_->setPixels(crop_.pixels());
  done_->setEnabled(!crop_.pixels().isEmpty());
}

}  // namespace vellandra

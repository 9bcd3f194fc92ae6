#include <QAction>
#include <QFileInfo>
#include <QMenu>
#include <QPushButton>
#include <QScreen>
#include <algorithm>
#include <array>
#include <cmath>

#include "calibration/preferences.h"
#include "calibration/transform.h"
#include "geodesy/constants.h"
#include "geodesy/degree_length.h"
#include "support/errors.h"
#include "support/numbers.h"
#include "support/user_interface.h"
#include "ui/dialogs/go_to_dialog.h"
#include "ui/dialogs/work_dialog.h"
#include "ui/viewer/map_canvas.h"
#include "ui/viewer/map_viewer_dialog.h"
#include "ui/viewer/point_grids.h"
#include "ui/widgets/qt_text.h"

// What shows whether a calibration is right: its grid, a place that one knows, a walk that one has recorded.

namespace vellandra {
namespace {

/// The place of a position on WGS 84 in the image, the middle of pixel (x, y) being (x + 0.5, y + 0.5). A map across
/// 180 degrees goes on past them.
ViewPoint placeOf(const Calibration& map, const Position& position) {
  const double middle = positionAt(map, map.imageWidth / 2.0, map.imageHeight / 2.0).longitude;
  const double turns = std::round((middle - position.longitude) / 360);
  const Pixel pixel = pixelAt(map, position.latitude, position.longitude + 360 * turns);
  return {pixel.x + 0.5, pixel.y + 0.5};
}

/// The places of a track, with one that is none where it goes around the far side of the earth.
std::vector<ViewPoint> placesOf(const Calibration& map, const std::vector<Position>& line) {
  const double middle = positionAt(map, map.imageWidth / 2.0, map.imageHeight / 2.0).longitude;
  std::vector<ViewPoint> places;
  places.reserve(line.size());
  double last = 0;  // degrees from the middle
  for (const Position& position : line) {
    const double longitude = std::remainder(position.longitude - middle, 360);
    if (std::abs(longitude - last) > 180) places.push_back({NAN, NAN});
    places.push_back(placeOf(map, position));
    last = longitude;
  }
  return places;
}

bool isOnImage(const Calibration& map, const ViewPoint& place) {
  return place.x >= 0 && place.y >= 0 && place.x < map.imageWidth && place.y < map.imageHeight;
}

/// "12.3 km to the south-east of it", counted from the nearest place of the map.
QString wayFromMap(const Calibration& map, const ViewPoint& place, const Position& position) {
  const Position edge = positionAt(map, std::clamp(place.x, 0.0, static_cast<double>(map.imageWidth)) - 0.5,
                                   std::clamp(place.y, 0.0, static_cast<double>(map.imageHeight)) - 0.5);
  const DegreeLength metres = degreeLength((edge.latitude + position.latitude) / 2);
  const double east = std::remainder(position.longitude - edge.longitude, 360) * metres.longitude;
  const double north = (position.latitude - edge.latitude) * metres.latitude;
  constexpr std::array names = {"north", "north-east", "east", "south-east",
                                "south", "south-west", "west", "north-west"};
  const auto sector = static_cast<std::size_t>(std::lround(std::atan2(east, north) / degToRad / 45) + 8) % names.size();
  return shown(formatNumber(std::hypot(east, north) / 1000, "0.0")) + " km to the " + names[sector] + " of it";
}

GpxFile readGpxFor(const Calibration& map, const QString& path) {
  GpxFile file = readGpx(path);
  if (file.isEmpty() || !file.problem.isEmpty()) return file;
  const auto seen = [&map](const Position& position) { return isOnImage(map, placeOf(map, position)); };
  const bool some = std::ranges::any_of(file.waypoints, seen, &GpxWaypoint::position) ||
                    std::ranges::any_of(file.lines, [&](const auto& line) { return std::ranges::any_of(line, seen); });
  if (!some) file.problem = " has no point on this map";
  return file;
}

/// What is seen of work goes with its end.
struct WorkDisplayed {
  WorkDisplayed() = default;
  WorkDisplayed(const WorkDisplayed&) = delete;
  WorkDisplayed& operator=(const WorkDisplayed&) = delete;
  ~WorkDisplayed() { endWorkDisplay(); }
};

}  // namespace

void MapViewerDialog::addChecks(QPushButton* button) {
  auto* menu = new QMenu(button);
  button->setMenu(menu);
  showsGrid_ = menu->addAction("&Grid lines");
  showsGrid_->setShortcut(Qt::Key_G);
  showsGrid_->setCheckable(true);
  showsGrid_->setChecked(preferences.showGrid);
  goTo_ = menu->addAction("Go &to a position...");
  goTo_->setShortcut(Qt::CTRL | Qt::Key_G);
  loadTracks_ = menu->addAction("&Load tracks (GPX)...");
  loadTracks_->setShortcut(Qt::CTRL | Qt::Key_T);
  clearTracks_ = menu->addAction("&Clear tracks and place");
  addActions(menu->actions());  // so that the keys work while the menu is closed
  connect(showsGrid_, &QAction::toggled, this, &MapViewerDialog::updateOverlay);
  connect(goTo_, &QAction::triggered, this, &MapViewerDialog::askForPlace);
  connect(loadTracks_, &QAction::triggered, this, &MapViewerDialog::loadTracks);
  connect(clearTracks_, &QAction::triggered, this, [this] {
    tracks_ = GpxFile();
    sought_.reset();
    updateOverlay();
  });
}

/// The grid, the tracks and the place, all where the fit has them now.
void MapViewerDialog::updateOverlay() {
  const TrialFit& fit = session_.fit();
  const bool grid = showsGrid_->isChecked() && fit.valid;
  canvas_->setGrid(grid ? std::optional(fit.map) : std::nullopt, mapGrid(), DegreeFormat(preferences.degreeFormat));
  CanvasOverlay overlay;
  if (fit.valid) {
    for (const std::vector<Position>& line : tracks_.lines) {
      overlay.lines.push_back(placesOf(fit.map, line));
    }
    for (const GpxWaypoint& waypoint : tracks_.waypoints) {
      overlay.waypoints.push_back({placeOf(fit.map, waypoint.position), waypoint.name});
    }
    if (sought_) overlay.sought = placeOf(fit.map, *sought_);
  }
  canvas_->setOverlay(std::move(overlay));
  goTo_->setEnabled(fit.valid);
  loadTracks_->setEnabled(fit.valid);
  clearTracks_->setEnabled(sought_ || !tracks_.isEmpty());
}

void MapViewerDialog::askForPlace() {
  const PointGrid grid = mapGrid();
  std::vector<std::string> datums = {wgs84Name};
  // Degrees and UTM on a map with a national grid come from elsewhere.
  const bool isNational = grid.grid == EntryGrid::british || grid.grid == EntryGrid::irish;
  if (grid.datum != wgs84Name) datums.insert(isNational ? datums.end() : datums.begin(), grid.datum);
  GoToDialog dialog(datums, this);
  connect(&dialog, &GoToDialog::asked, this,
          [this, &dialog](const QString& text, const std::string& datum) { dialog.setAnswer(goTo(text, datum)); });
  // Beside the map as far as the screen has room, so that no place is hidden.
  const QPoint beside = canvas_->mapToGlobal(QPoint(canvas_->width() + 10, 40));
  const int rightmost = screen()->availableGeometry().right() - dialog.sizeHint().width() - 10;
  dialog.move(std::min(beside.x(), rightmost), beside.y());
  dialog.exec();
}

/// Shows the place, and says what it is; else why not.
QString MapViewerDialog::goTo(const QString& text, const std::string& datum) {
  const Calibration& map = session_.fit().map;
  const bool southern = positionAt(map, map.imageWidth / 2.0, map.imageHeight / 2.0).latitude < 0;
  const PositionReading reading = readPositionText(textBytes(text), mapGrid(), southern);
  if (!reading.fields) return shown(reading.problem);
  PositionFields fields = *reading.fields;
  if (fields.grid.grid == EntryGrid::degrees || fields.grid.grid == EntryGrid::utm) fields.grid.datum = datum;
  const std::optional<Position> given = positionOf(fields);
  if (!given) return "Invalid grid reference";
  const GridProjection projection(fields.grid);
  if (!projection.isKnown()) return "Datum " + shown(fields.grid.datum) + " is not in the table of datums";
  const Position position = projection.toWgs84(*given);
  const ViewPoint place = placeOf(map, position);
  const GridName name = nameOf(fields.grid);
  const QString said = shown(positionText(projection, *given, DegreeFormat(preferences.degreeFormat))) + " (" +
                       (name.datum.isEmpty() ? name.kind : name.datum) + ")";
  if (!std::isfinite(place.x + place.y)) return said + " is not on this map";
  if (!isOnImage(map, place)) return said + " is not on this map: it lies " + wayFromMap(map, place, position);
  sought_ = position;
  updateOverlay();
  const int x = static_cast<int>(std::floor(place.x)), y = static_cast<int>(std::floor(place.y));
  canvas_->centreOnPixel(x, y);
  return said + QString("\nPixel %1, %2").arg(x).arg(y);
}

void MapViewerDialog::loadTracks() {
  const std::string path =
      userInterface().askOpenFile({"Open tracks and waypoints", "*.gpx", "GPX files (*.gpx)|*.gpx"});
  if (path.empty()) return;
  const std::string name = textBytes(QFileInfo(shownPath(path)).fileName());
  const WorkDisplayed displayed;
  GpxFile read;
  try {
    read = runWork("Reading " + name, [&path, map = session_.fit().map] { return readGpxFor(map, shownPath(path)); });
  } catch (const Cancelled&) {
    return;  // those that were drawn stay
  }
  const std::string problem = textBytes(read.problem);
  if (!read.isEmpty()) {  // as they do here
    tracks_ = std::move(read);
    updateOverlay();
  }
  if (!problem.empty()) tell(name + problem, "Tracks");
}

}  // namespace vellandra

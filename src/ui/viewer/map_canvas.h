#pragma once

#include <QWidget>
#include <array>
#include <functional>
#include <optional>
#include <vector>

#include "calibration/map_grid.h"
#include "ui/viewer/map_canvas_crop.h"
#include "ui/viewer/map_canvas_pyramid.h"
#include "ui/viewer/map_canvas_view.h"

namespace vellandra {

struct CanvasMark {
  int x = 0, y = 0;  ///< pixel
  QString number;
  enum class Look { plain, selected, waiting } look = Look::plain;
  bool off = false;                 ///< switched off: drawn as what does not count
  std::optional<ViewPoint> fitted;  ///< the pixel at which the fit has its position
};

/// What is drawn over the map beside marks and grid, in image coordinates.
struct CanvasOverlay {
  struct Waypoint {
    ViewPoint place;
    QString name;
  };
  std::vector<std::vector<ViewPoint>> lines;
  std::vector<Waypoint> waypoints;
  std::optional<ViewPoint> sought;  ///< a place gone to
};

/// The picture of the map in the viewer: draws what is seen of it with grid, marks and crop rectangle, and turns the
/// mouse, the wheel and the keys into zooming, panning and the signals below. Holds no points of its own.
class MapCanvas : public QWidget {
  Q_OBJECT

 public:
  MapCanvas(const Bitmap& image, QWidget* parent);

  const MapView& view() const { return view_; }
  void fit();
  void full();
  void zoomBy(double factor);          ///< about the middle
  void panSteps(int right, int down);  ///< the window moves over the map by eighths of its size
  void centreOnPixel(int x, int y);    ///< as far as the map is larger than the window
  void closeUp(int x, int y);          ///< the pixel in the middle, at 4 to 1 at least
  void setView(const MapView& view);   ///< one that was here before

  void setMarks(std::vector<CanvasMark> marks);
  /// Which mark is under the window's (x, y), counted from 1; 0 for none.
  void setHitTest(std::function<int(double, double)> hitTest) { hitTest_ = std::move(hitTest); }
  /// The map and the grid that is drawn on it; no map for no grid.
  void setGrid(std::optional<Calibration> map, const PointGrid& grid, DegreeFormat format);
  void setOverlay(CanvasOverlay overlay);
  /// From now on dragging draws and changes `crop`, which must outlive this.
  void setCrop(CropRectangle* crop);
  void setPlacing(bool placing);
  /// Draws an arrow from each mark to where the fit has its position, enlarged; by how much is said on the map.
  void setArrows(bool arrows);
  /// Ends what the mouse is doing: the marks are about to become others, or a dialog takes the mouse.
  void letGo();

  std::size_t extraBytes() const { return pyramid_.extraBytes(); }  ///< held beside the map image

 Q_SIGNALS:
  void mapClicked(int x, int y);  ///< a pixel of the image, also by Enter while the aim is shown
  void markClicked(int number);
  void markGrabbed(int number);  ///< a drag begins
  void markDragged(int number, int x, int y);
  void nudged(int right, int down);  ///< Alt and an arrow key
  void pointedAt(int x, int y);      ///< the pixel under the mouse or the aim
  void pointedBeside();
  void viewChanged();
  void cropChanged();
  void confirmed();  ///< Enter while cropping

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;

 private:
  enum class Hold { nothing, map, mark, cropNew, cropGrip };

  void changeView();
  void drawMap(QPainter& painter, bool whole);
  void drawMap(const Frame& frame, double ratio, int top) const;
  void findGridLines();
  void drawGridLines(const Frame& frame, double ratio, int top) const;
  void drawGridLabels(QPainter& painter) const;
  void findTracks();
  void drawTracks(const Frame& frame, double ratio, int top) const;
  void drawWaypoints(QPainter& painter) const;
  QPointF markMiddle(const CanvasMark& mark) const;
  void drawMarks(QPainter& painter) const;
  void drawArrows(QPainter& painter) const;
  void drawCrop(QPainter& painter) const;
  void drawAim(QPainter& painter) const;
  bool pixelAtWindow(QPointF place, int& x, int& y) const;
  void pointAt(QPointF place);
  void holdForCrop(QPointF place);
  void dragTo(QPointF place);
  void takeAim();
  void useArrow(int right, int down, Qt::KeyboardModifiers modifiers);
  void updateCursor(QPointF place);

  const Bitmap& image_;
  ImagePyramid pyramid_;
  MapView view_;
  std::vector<CanvasMark> marks_;
  std::function<int(double, double)> hitTest_;
  std::optional<Calibration> gridMap_;
  GridProjection grid_{PointGrid()};
  std::vector<GridLine> gridLines_;  ///< those on show
  DegreeFormat gridFormat_ = DegreeFormat::decimalDegrees;
  CanvasOverlay overlay_;
  std::vector<std::array<ViewPoint, 2>> trackPieces_;  ///< those on show, in the window
  CropRectangle* crop_ = nullptr;
  bool placing_ = false;
  bool arrows_ = false;
  bool aiming_ = false;  ///< the keys are in use: the middle of the window is what Enter takes

  Hold hold_ = Hold::nothing;
  bool dragging_ = false;  ///< moved far enough not to be a click
  int heldMark_ = 0;
  QPointF pressed_, last_;
  QPointF markOffset_;  ///< of the held mark from the mouse
  CropGrip grip_;
  PixelRectangle cropStart_;
};

}  // namespace vellandra

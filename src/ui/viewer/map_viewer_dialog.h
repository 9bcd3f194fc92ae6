#pragma once

#include <QDialog>
#include <QTimer>
#include <memory>

#include "ui/dialogs/calibration_settings.h"
#include "ui/viewer/gpx_file.h"
#include "ui/viewer/map_canvas_crop.h"
#include "ui/viewer/map_viewer.h"
#include "ui/viewer/map_viewer_session.h"

class QAction;
class QCheckBox;
class QHBoxLayout;
class QLabel;
class QPushButton;

namespace vellandra {

class Bitmap;
class CropPanel;
class MapCanvas;
class PointEntry;
class PointList;

/// The viewer's window; see `showMapViewer`.
class MapViewerDialog : public QDialog {
  Q_OBJECT

 public:
  /// `image` must outlive the window.
  MapViewerDialog(ViewerMode mode, const Bitmap& image, QWidget* parent);
  ~MapViewerDialog() override;

  ViewerResult viewerResult() const { return result_; }
  MapCanvas* canvas() const { return canvas_; }
  const CalibrationSession& session() const { return session_; }

  /// Keeps the points or the rectangle and closes; asks first about a mark without coordinates.
  void accept() override;
  /// Escape and the window's close button: asks before points are lost.
  void reject() override;
  /// Remembers the window's size and place.
  void done(int result) override;

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  // Layout.
  void build();
  QWidget* buildTools();
  QWidget* buildPanTools();
  QWidget* buildSide();
  QHBoxLayout* buildLooks();
  void connectSide();
  QWidget* buildCropSide();
  QHBoxLayout* buildBottom();
  void connectCanvas();

  // Steps: what the person does with the points.
  void followInstruction();
  bool chooseSettings();
  void placeAt(int x, int y);
  void takeCoordinates(double latitude, double longitude, const PointGrid& grid);
  bool dropEntry();
  void correctSelected();
  void adjustPoint(int number);
  void removeSelected();
  void undo();
  void redo();
  void switchPoint(int number, bool off);
  void select(int number);
  void showPoint(int number);
  void nudge(int right, int down);

  void pointsChanged();
  void keepPoints();

  // Display: what the window shows of the work.
  void showPoints();
  void updateMarks();
  void updateList();
  void updateFit();
  void updateButtons();
  void showPixel(int x, int y);
  void updateReadout();
  PointGrid mapGrid() const;
  QString reportOf(int number) const;
  void showCrop();

  // Checks: whether the calibration is right.
  void addChecks(QPushButton* button);
  void updateOverlay();
  void askForPlace();
  QString goTo(const QString& text, const std::string& datum);
  void loadTracks();

  ViewerMode mode_;
  const Bitmap& image_;
  CalibrationSession session_;
  CropRectangle crop_;
  ViewerResult result_;
  std::optional<ViewPoint> pointedAt_;  ///< the pixel that is read out
  GpxFile tracks_;
  std::optional<Position> sought_;  ///< the place gone to, on WGS 84
  bool settingsChosen_ = false;     ///< in this window
  int selected_ = 0;
  std::size_t keptStep_ = 0;  ///< at which the points were kept last
  QTimer keepLater_;
  int correcting_ = 0;  ///< the point whose coordinates are asked for again; 0: a new one, or none

  MapCanvas* canvas_ = nullptr;
  QPushButton* instruction_ = nullptr;
  QPushButton* settingsButton_ = nullptr;
  QPushButton* undo_ = nullptr;
  QPushButton* redo_ = nullptr;
  QAction* showsGrid_ = nullptr;
  QAction* goTo_ = nullptr;
  QAction* loadTracks_ = nullptr;
  QAction* clearTracks_ = nullptr;
  QPushButton* adjust_ = nullptr;
  QPushButton* correct_ = nullptr;
  QPushButton* remove_ = nullptr;
  QPushButton* done_ = nullptr;
  QPushButton* cancel_ = nullptr;
  PointList* list_ = nullptr;
  QWidget* aboutPoints_ = nullptr;  ///< what stands between the list and the entry
  bool entryNeedsRoom_ = false;     ///< the screen is too low to show both at once
  QCheckBox* zoomToPoint_ = nullptr;
  QCheckBox* worstFirst_ = nullptr;
  QLabel* fit_ = nullptr;
  QLabel* readout_ = nullptr;
  PointEntry* entry_ = nullptr;
  CropPanel* cropPanel_ = nullptr;
};

}  // namespace vellandra

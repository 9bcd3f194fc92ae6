#include <QAction>
#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QSplitter>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>

#include "raster/bitmap.h"
#include "ui/viewer/map_canvas.h"
#include "ui/viewer/map_viewer_crop_panel.h"
#include "ui/viewer/map_viewer_dialog.h"
#include "ui/viewer/point_entry.h"
#include "ui/viewer/point_list.h"
#include "ui/widgets/window_settings.h"

namespace vellandra {
namespace {

constexpr const char* geometryKey = "mapViewer";
constexpr double buttonZoom = 1.5;

QPushButton* addButton(QBoxLayout* layout, const char* text, const char* toolTip) {
  auto* button = new QPushButton(text);
  button->setAutoDefault(false);
  button->setToolTip(toolTip);
  layout->addWidget(button);
  return button;
}

}  // namespace

void MapViewerDialog::build() {
  canvas_ = new MapCanvas(image_, nullptr);
  auto* splitter = new QSplitter;
  splitter->addWidget(canvas_);
  splitter->addWidget(mode_ == ViewerMode::crop ? buildCropSide() : buildSide());
  splitter->setStretchFactor(0, 1);
  splitter->setCollapsible(0, false);
  const QSize available = screen()->availableSize();
  QWidget* steps = buildTools();
  QWidget* pan = buildPanTools();
  // A small screen at 200 % has no room for both in one row.
  const bool oneRow = steps->sizeHint().width() + pan->sizeHint().width() < available.width() * 0.94;
  auto* tools = new QBoxLayout(oneRow ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);
  tools->addWidget(steps, 1);
  tools->addWidget(pan);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(tools);
  layout->addWidget(splitter, 1);
  layout->addLayout(buildBottom());
  resize(QSize(1180, 780).boundedTo(available * 0.94));
  restoreGeometry(windowSettings().value(geometryKey).toByteArray());
}

void MapViewerDialog::done(int result) {
  windowSettings().setValue(geometryKey, saveGeometry());
  QDialog::done(result);
}

/// What is done with the points.
QWidget* MapViewerDialog::buildTools() {
  auto* row = new QWidget;
  auto* tools = new QHBoxLayout(row);
  tools->setContentsMargins(0, 0, 0, 0);
  if (mode_ != ViewerMode::crop) {
    instruction_ = addButton(tools, "", "What to do next (Ctrl+Enter)");
    instruction_->setObjectName("instruction");
    QFont bold = instruction_->font();
    bold.setBold(true);
    instruction_->setFont(bold);
    int widest = 0;  // so that the row stays as it is from step to step
    for (const Instruction step : {Instruction::start, Instruction::clickMap, Instruction::finish}) {
      instruction_->setText(instructionText(step));
      widest = std::max(widest, instruction_->sizeHint().width());
    }
    instruction_->setMinimumWidth(widest);
    connect(instruction_, &QPushButton::clicked, this, &MapViewerDialog::followInstruction);
    auto* next = new QAction(this);
    next->setShortcuts({Qt::CTRL | Qt::Key_Return, Qt::CTRL | Qt::Key_Enter});
    connect(next, &QAction::triggered, instruction_, &QPushButton::click);
    addAction(next);
    settingsButton_ = addButton(tools, "&Settings...", "Grid and datum of the next points");
    connect(settingsButton_, &QPushButton::clicked, this, [this] { chooseSettings(); });
    undo_ = addButton(tools, "&Undo", "Takes the last step back (Ctrl+Z)");
    connect(undo_, &QPushButton::clicked, this, &MapViewerDialog::undo);
    redo_ = addButton(tools, "&Redo", "Does again what Undo took back (Ctrl+Shift+Z)");
    connect(redo_, &QPushButton::clicked, this, &MapViewerDialog::redo);
    auto* checks = addButton(tools, "Chec&k", "Grid lines, a place that you know, a walk that you have recorded");
    addChecks(checks);
  } else {
    auto* hint = new QLabel("Drag a rectangle over the map, and its edges to change it");
    tools->addWidget(hint);
  }
  tools->addStretch();
  return row;
}

/// Which part of the map is seen.
QWidget* MapViewerDialog::buildPanTools() {
  auto* row = new QWidget;
  auto* tools = new QHBoxLayout(row);
  tools->setContentsMargins(0, 0, 0, 0);
  const auto addTool = [&](const char* name, Qt::ArrowType arrow, const QString& text) {
    auto* button = new QToolButton;
    arrow == Qt::NoArrow ? button->setText(text) : button->setArrowType(arrow);
    button->setAccessibleName(name);
    button->setToolTip(name);
    button->setFocusPolicy(Qt::StrongFocus);
    button->setAutoRepeat(arrow != Qt::NoArrow);
    tools->addWidget(button);
    return button;
  };
  const auto addPan = [&](const char* name, Qt::ArrowType arrow, int right, int down) {
    connect(addTool(name, arrow, {}), &QToolButton::clicked, this,
            [this, right, down] { canvas_->panSteps(right, down); });
  };
  addPan("Left", Qt::LeftArrow, -1, 0);
  addPan("Right", Qt::RightArrow, 1, 0);
  addPan("Up", Qt::UpArrow, 0, -1);
  addPan("Down", Qt::DownArrow, 0, 1);
  tools->addSpacing(8);
  connect(addTool("Zoom in", Qt::NoArrow, "+"), &QToolButton::clicked, this, [this] { canvas_->zoomBy(buttonZoom); });
  connect(addTool("Zoom out", Qt::NoArrow, "\u2212"), &QToolButton::clicked, this,
          [this] { canvas_->zoomBy(1 / buttonZoom); });
  connect(addButton(tools, "&Fit", "The whole map in the window (F)"), &QPushButton::clicked, this,
          [this] { canvas_->fit(); });
  connect(addButton(tools, "Fu&ll", "One pixel of the map as one of the screen (1)"), &QPushButton::clicked, this,
          [this] { canvas_->full(); });
  tools->addStretch();
  return row;
}

QWidget* MapViewerDialog::buildSide() {
  auto* side = new QWidget;
  auto* layout = new QVBoxLayout(side);
  layout->setContentsMargins(6, 0, 0, 0);
  list_ = new PointList(nullptr);
  aboutPoints_ = new QWidget;
  auto* about = new QVBoxLayout(aboutPoints_);
  about->setContentsMargins(0, 0, 0, 0);
  auto* tools = new QHBoxLayout;
  adjust_ = addButton(tools, "&Adjust...", "Moves the chosen point by pixels, or deletes it");
  correct_ = addButton(tools, "C&oordinates...", "Asks for the coordinates of the chosen point again");
  remove_ = addButton(tools, "D&elete", "Deletes the chosen point");
  tools->addStretch();
  fit_ = new QLabel;
  fit_->setWordWrap(true);
  fit_->setAlignment(Qt::AlignTop | Qt::AlignLeft);
  fit_->setMinimumHeight(2 * fit_->fontMetrics().lineSpacing());
  entry_ = new PointEntry(nullptr);
  entry_->hide();
  about->addLayout(tools);
  about->addLayout(buildLooks());
  about->addWidget(fit_);
  layout->addWidget(list_, 1);
  layout->addWidget(aboutPoints_);
  layout->addWidget(entry_);
  constexpr int linesOfTallSide = 36;
  const int line = fontMetrics().lineSpacing();
  entryNeedsRoom_ = screen()->availableSize().height() < linesOfTallSide * line;
  if (entryNeedsRoom_) list_->setMinimumHeight(4 * line);  // heading and one row
  side->setMinimumWidth(list_->widthOfRows());
  connectSide();
  return side;
}

/// How the points are looked at.
QHBoxLayout* MapViewerDialog::buildLooks() {
  auto* looks = new QHBoxLayout;
  const auto addSwitch = [looks](const char* text, const char* toolTip) {
    auto* box = new QCheckBox(text);
    box->setToolTip(toolTip);
    looks->addWidget(box);
    return box;
  };
  zoomToPoint_ = addSwitch("Zoo&m to point", "A point that is chosen in the list is shown from near");
  auto* arrows = addSwitch("Arro&ws", "Shows how far, enlarged, and where to the fit would move each point");
  worstFirst_ = addSwitch("B&y residual", "The points with the largest residuals stand at the top of the list");
  looks->addStretch();
  connect(arrows, &QCheckBox::toggled, canvas_, &MapCanvas::setArrows);
  connect(worstFirst_, &QCheckBox::toggled, this, [this](bool worstFirst) {
    list_->setWorstFirst(worstFirst);
    updateList();
  });
  return looks;
}

void MapViewerDialog::connectSide() {
  connect(list_, &PointList::chosen, this, [this](int number) {
    select(number);
    const TiePoint& point = session_.points().at(static_cast<std::size_t>(number - 1));
    zoomToPoint_->isChecked() ? showPoint(number) : canvas_->centreOnPixel(point.x, point.y);
  });
  connect(list_, &PointList::switched, this, &MapViewerDialog::switchPoint);
  connect(list_, &PointList::orderAsked, worstFirst_, &QCheckBox::setChecked);
  connect(list_, &QTreeWidget::itemActivated, this, [this] { adjustPoint(selected_); });
  connect(adjust_, &QPushButton::clicked, this, [this] { adjustPoint(selected_); });
  connect(correct_, &QPushButton::clicked, this, &MapViewerDialog::correctSelected);
  connect(remove_, &QPushButton::clicked, this, &MapViewerDialog::removeSelected);
  connect(entry_, &PointEntry::given, this, &MapViewerDialog::takeCoordinates);
  connect(entry_, &PointEntry::dropped, this, &MapViewerDialog::dropEntry);
}

QWidget* MapViewerDialog::buildCropSide() {
  cropPanel_ = new CropPanel(image_.width(), image_.height(), nullptr);
  connect(cropPanel_, &CropPanel::edited, this, [this](const PixelRectangle& pixels) {
    crop_.set(pixels);
    canvas_->update();
    showCrop();
  });
  return cropPanel_;
}

QHBoxLayout* MapViewerDialog::buildBottom() {
  auto* bottom = new QHBoxLayout;
  readout_ = new QLabel;
  readout_->setObjectName("readout");
  readout_->setAccessibleName("Place under the cursor");
  readout_->setToolTip("Pixel, latitude and longitude, grid reference");
  readout_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  readout_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);  // a long text must not widen the window
  bottom->addWidget(readout_, 1);
  done_ = addButton(bottom, mode_ == ViewerMode::crop ? "Cr&op" : mode_ == ViewerMode::view ? "&Close" : "&Done", "");
  connect(done_, &QPushButton::clicked, this, &MapViewerDialog::accept);
  cancel_ = addButton(bottom, "&Cancel", "");
  cancel_->setObjectName("cancel");
  connect(cancel_, &QPushButton::clicked, this, &MapViewerDialog::reject);
  return bottom;
}

void MapViewerDialog::connectCanvas() {
  connect(canvas_, &MapCanvas::pointedAt, this, &MapViewerDialog::showPixel);
  connect(canvas_, &MapCanvas::pointedBeside, this, [this] {
    pointedAt_.reset();
    updateReadout();
  });
  if (mode_ == ViewerMode::crop) {
    canvas_->setCrop(&crop_);
    connect(canvas_, &MapCanvas::cropChanged, this, &MapViewerDialog::showCrop);
    connect(canvas_, &MapCanvas::confirmed, this, &MapViewerDialog::accept);
    return;
  }
  canvas_->setHitTest([this](double x, double y) { return session_.pointAt(canvas_->view(), x, y); });
  connect(canvas_, &MapCanvas::mapClicked, this, &MapViewerDialog::placeAt);
  connect(canvas_, &MapCanvas::markClicked, this, &MapViewerDialog::adjustPoint);
  connect(canvas_, &MapCanvas::nudged, this, &MapViewerDialog::nudge);
  connect(canvas_, &MapCanvas::markGrabbed, this, [this](int number) {
    session_.beginMove();
    select(number);
  });
  connect(canvas_, &MapCanvas::markDragged, this, [this](int number, int x, int y) {
    session_.moveTo(number, x, y);
    pointsChanged();
  });
}

}  // namespace vellandra

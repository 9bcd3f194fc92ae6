#include "ui/viewer/point_entry.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QStackedWidget>
#include <QVBoxLayout>

#include "geodesy/angle_format.h"
#include "geodesy/datum.h"
#include "geodesy/utm.h"
#include "support/numbers.h"
#include "support/user_interface.h"
#include "ui/viewer/shown_position.h"
#include "ui/widgets/qt_text.h"

namespace vellandra {
namespace {

constexpr const char* invalidGrid = "Invalid grid reference";
constexpr double squareEnd = 99999.999;
constexpr double utmEastEnd = 999999.999;
constexpr double utmNorthEnd = southernFalseNorthing;

/// What differs between the two grids of letters and metres.
struct NationalGrid {
  const char* name;
  const char* datum;  ///< of the positions
  const char* example;
  double eastEnd, northEnd;
  std::string (*lettersProblem)(std::string_view letters);
  std::optional<Position> (*position)(std::string_view letters, double easting, double northing);
};
constexpr NationalGrid britishGrid{
    "British national grid", wgs84Name,      "TQ, or none for full metres", 699999.999, 1299999.999,
    britishLettersProblem,   britishPosition};
constexpr NationalGrid irishGrid{"Irish grid, datum Ireland 1965",
                                 "IRELAND 1965",
                                 "O, or none for full metres",
                                 499999.999,
                                 499999.999,
                                 irishLetterProblem,
                                 irishPosition};

const NationalGrid* nationalGrid(EntryGrid grid) {
  return grid == EntryGrid::british ? &britishGrid : grid == EntryGrid::irish ? &irishGrid : nullptr;
}

void colorReason(QLabel* label) {
  QPalette palette = label->palette();
  const bool dark = palette.color(QPalette::Window).lightness() < 128;
  palette.setColor(QPalette::WindowText, dark ? QColor(255, 140, 130) : QColor(176, 0, 32));
  label->setPalette(palette);
}

/// An angle so that reading it again gives the same number.
QString exactDegrees(double angle) {
  return QString::number(angle, 'f', 9);
}

}  // namespace

PointEntry::PointEntry(QWidget* parent)
    : QWidget(parent),
      heading_(new QLabel),
      datum_(new QLabel),
      forms_(new QStackedWidget),
      result_(new QLabel),
      accept_(new QPushButton("&Place point")),
      drop_(new QPushButton("Lea&ve out")) {
  setAccessibleName("Coordinates of the point");
  QFont bold = heading_->font();
  bold.setBold(true);
  heading_->setFont(bold);
  result_->setWordWrap(true);
  forms_->addWidget(degreesForm());
  forms_->addWidget(nationalGridForm());
  forms_->addWidget(utmForm());
  forms_->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);

  accept_->setAutoDefault(false);
  drop_->setAutoDefault(false);
  auto* buttons = new QHBoxLayout;
  buttons->addStretch();
  buttons->addWidget(accept_);
  buttons->addWidget(drop_);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(heading_);
  layout->addWidget(datum_);
  layout->addWidget(forms_);
  layout->addWidget(result_);
  layout->addLayout(buttons);
  connect(accept_, &QPushButton::clicked, this, &PointEntry::accept);
  connect(drop_, &QPushButton::clicked, this, &PointEntry::dropped);
}

PointEntry::Field PointEntry::addField(QWidget* form, const char* label, const char* example) {
  Field field{new QLineEdit, new QLabel};
  field.edit->setAccessibleName(plainCaption(label));
  field.edit->setPlaceholderText(example);
  field.reason->setWordWrap(true);
  field.reason->hide();
  auto* box = new QVBoxLayout;
  box->setSpacing(1);
  box->addWidget(field.edit);
  box->addWidget(field.reason);
  auto* title = new QLabel(label);
  title->setBuddy(field.edit);
  static_cast<QFormLayout*>(form->layout())->addRow(title, box);
  connect(field.edit, &QLineEdit::textChanged, this, &PointEntry::validate);
  connect(field.edit, &QLineEdit::returnPressed, this, &PointEntry::accept);
  return field;
}

QWidget* PointEntry::degreesForm() {
  auto* form = new QWidget;
  (new QFormLayout(form))->setContentsMargins(0, 0, 0, 0);
  latitude_ = addField(form, "La&titude", "51 30 26.64 N");
  longitude_ = addField(form, "Long&itude", "0 7 40.08 W");
  for (const Field& field : {latitude_, longitude_}) {
    field.edit->setToolTip(
        "Degrees, degrees and minutes, or degrees, minutes and seconds:\n"
        "51.5074   51 30.444   51 30 26.64\n"
        "with a letter or a sign for the side");
  }
  return form;
}

QWidget* PointEntry::nationalGridForm() {
  auto* form = new QWidget;
  (new QFormLayout(form))->setContentsMargins(0, 0, 0, 0);
  letters_ = addField(form, "Le&tters", "");
  letters_.edit->setMaxLength(4);
  gridEasting_ = addField(form, "Eastin&g (metres)", "30000");
  gridNorthing_ = addField(form, "&Northing (metres)", "80000");
  return form;
}

QWidget* PointEntry::utmForm() {
  auto* form = new QWidget;
  auto* layout = new QFormLayout(form);
  layout->setContentsMargins(0, 0, 0, 0);
  zone_ = new QSpinBox;
  zone_->setRange(1, 60);
  zone_->setAccessibleName("UTM zone");
  auto* title = new QLabel("&Zone");
  title->setBuddy(zone_);
  layout->addRow(title, zone_);
  easting_ = addField(form, "Eastin&g (metres)", "448251");
  northing_ = addField(form, "&Northing (metres)", "5411932");
  southern_ = new QCheckBox("Sout&hern hemisphere");
  layout->addRow(QString(), southern_);
  connect(zone_, &QSpinBox::valueChanged, this, &PointEntry::validate);
  connect(southern_, &QCheckBox::toggled, this, &PointEntry::validate);
  return form;
}

void PointEntry::setSettings(const CalibrationSettings& settings) {
  settings_ = settings;
  const NationalGrid* national = nationalGrid(settings.grid);
  forms_->setCurrentIndex(national != nullptr ? 1 : settings.grid == EntryGrid::degrees ? 0 : 2);
  // Only the form in use decides how high the panel is.
  for (int i = 0; i < forms_->count(); ++i) {
    const bool inUse = i == forms_->currentIndex();
    forms_->widget(i)->setSizePolicy(QSizePolicy::Preferred, inUse ? QSizePolicy::Preferred : QSizePolicy::Ignored);
  }
  zone_->setValue(settings.zone);
  southern_->setChecked(settings.southern);
  if (national != nullptr) letters_.edit->setPlaceholderText(national->example);
  datum_->setText(national != nullptr ? national->name : "Datum " + shown(settings.datum));
  validate();
}

void PointEntry::setHeading(const QString& text) {
  heading_->setText(text);
}

void PointEntry::begin(int number) {
  setHeading(QString("Coordinates of point %1").arg(number));
  accept_->setText("&Place point");
  drop_->setText("Lea&ve out");
  for (const Field* field : fieldsInUse()) field->edit->clear();
  begunWith_ = typed();
  validate();
  takeFocus();
}

void PointEntry::takeFocus() {
  fieldsInUse().front()->edit->setFocus(Qt::OtherFocusReason);
}

void PointEntry::beginCorrection(int number, double latitude, double longitude) {
  begin(number);
  accept_->setText("Change &point");
  drop_->setText("Cancel");
  setHeading(QString("New coordinates of point %1").arg(number));
  if (settings_.grid != EntryGrid::degrees) return;
  latitude_.edit->setText(exactDegrees(latitude));
  longitude_.edit->setText(exactDegrees(withinHalfTurn(longitude)));
  latitude_.edit->selectAll();
  begunWith_ = typed();
}

QString PointEntry::typed() const {
  QStringList texts;
  for (const Field* field : fieldsInUse()) texts << field->edit->text().trimmed();
  return texts.join('\n');
}

bool PointEntry::isTouched() const {
  return typed() != begunWith_;
}

std::vector<const PointEntry::Field*> PointEntry::fieldsInUse() const {
  switch (settings_.grid) {
    case EntryGrid::degrees:
      return {&latitude_, &longitude_};
    case EntryGrid::british:
    case EntryGrid::irish:
      return {&letters_, &gridEasting_, &gridNorthing_};
    case EntryGrid::utm:
      return {&easting_, &northing_};
  }
  return {};
}

std::string PointEntry::textOf(const Field& field) {
  return textBytes(field.edit->text());
}

/// Shows the reason beside the field; true when the field has a value.
bool PointEntry::reportField(const Field& field, const EntryField& entry) {
  field.reason->setText(shown(entry.problem));
  field.reason->setVisible(!entry.problem.empty());
  colorReason(field.reason);
  field.edit->setAccessibleDescription(field.reason->text());
  return entry.value.has_value();
}

bool PointEntry::readNationalGrid() {
  const NationalGrid& grid = *nationalGrid(settings_.grid);
  const std::string letters = textOf(letters_);
  const bool full = letters_.edit->text().trimmed().isEmpty();
  const EntryField easting = parseMetres(textOf(gridEasting_), 0, full ? grid.eastEnd : squareEnd);
  const EntryField northing = parseMetres(textOf(gridNorthing_), 0, full ? grid.northEnd : squareEnd);
  const std::string problem = grid.lettersProblem(letters);
  reportField(letters_, {std::nullopt, problem});
  const bool first = reportField(gridEasting_, easting);
  if (!reportField(gridNorthing_, northing) || !first || !problem.empty()) return false;
  position_ = grid.position(letters, *easting.value, *northing.value);
  return true;
}

/// Puts what the fields say into `position_`; false while one is empty or cannot be read.
bool PointEntry::readFields() {
  position_.reset();
  if (settings_.grid == EntryGrid::degrees) {
    const EntryField latitude = parseLatitude(textOf(latitude_));
    const EntryField longitude = parseLongitude(textOf(longitude_));
    const bool first = reportField(latitude_, latitude);
    if (!reportField(longitude_, longitude) || !first) return false;
    position_ = Position{*latitude.value, *longitude.value};
  } else if (nationalGrid(settings_.grid) != nullptr) {
    return readNationalGrid();
  } else {
    const EntryField easting = parseMetres(textOf(easting_), 0, utmEastEnd);
    const EntryField northing = parseMetres(textOf(northing_), 0, utmNorthEnd);
    const bool first = reportField(easting_, easting);
    if (!reportField(northing_, northing) || !first) return false;
    position_ = utmPosition(static_cast<std::int16_t>(zone_->value()), southern_->isChecked(), *easting.value,
                            *northing.value, findDatumByName(datumColumnName(settings_.datum)));
  }
  return true;
}

void PointEntry::validate() {
  const bool read = readFields();
  outsideArea_ = read && !position_;
  // A reference that cannot be is named beside the fields at once, and in a box when it is used all the same.
  accept_->setEnabled(read);
  QPalette palette = this->palette();
  result_->setPalette(palette);
  if (outsideArea_) {
    colorReason(result_);
    result_->setText(invalidGrid);
  } else if (position_) {
    result_->setText("= " + shownPosition(position_->latitude, position_->longitude));
  } else {
    result_->clear();
  }
}

void PointEntry::accept() {
  if (outsideArea_) {
    tell(invalidGrid);
    fieldsInUse().front()->edit->setFocus();
    return;
  }
  if (position_) {
    const NationalGrid* national = nationalGrid(settings_.grid);
    Q_EMIT given(position_->latitude, position_->longitude, national != nullptr ? national->datum : settings_.datum);
    return;
  }
  for (const Field* field : fieldsInUse()) {
    const bool mayBeEmpty = field == &letters_;
    const bool empty = field->edit->text().trimmed().isEmpty();
    if (!field->reason->text().isEmpty() || (empty && !mayBeEmpty)) {
      field->edit->setFocus();
      field->edit->selectAll();
      return;
    }
  }
}

void PointEntry::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape) {
    Q_EMIT dropped();
  } else {
    QWidget::keyPressEvent(event);
  }
}

}  // namespace vellandra

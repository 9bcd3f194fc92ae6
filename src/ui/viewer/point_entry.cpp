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

#include "support/user_interface.h"
#include "ui/viewer/pasting_edit.h"
#include "ui/viewer/point_grids.h"
#include "ui/viewer/shown_position.h"
#include "ui/widgets/qt_text.h"

namespace vellandra {
namespace {

constexpr const char* invalidGrid = "Invalid grid reference";
constexpr int messageLines = 3;

/// What differs between the two grids of letters and metres.
struct NationalGrid {
  const char* example;
  std::string (*lettersProblem)(std::string_view letters);
};
constexpr NationalGrid britishGrid{"TQ, or none for full metres", britishLettersProblem};
constexpr NationalGrid irishGrid{"O, or none for full metres", irishLetterProblem};

const NationalGrid* nationalGrid(EntryGrid grid) {
  return grid == EntryGrid::british ? &britishGrid : grid == EntryGrid::irish ? &irishGrid : nullptr;
}

void colorReason(QWidget* widget, QPalette::ColorRole role) {
  QPalette palette = widget->palette();
  const bool dark = palette.color(QPalette::Window).lightness() < 128;
  palette.setColor(role, dark ? QColor(255, 140, 130) : QColor(176, 0, 32));
  widget->setPalette(palette);
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
  result_->setAlignment(Qt::AlignTop | Qt::AlignLeft);
  result_->setMinimumHeight(messageLines * result_->fontMetrics().lineSpacing());
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
  const Field field{new PastingEdit([this](const QLineEdit& edit, const QString& piece) { takePaste(edit, piece); })};
  field.edit->setAccessibleName(plainCaption(label));
  field.edit->setPlaceholderText(example);
  auto* title = new QLabel(label);
  title->setBuddy(field.edit);
  static_cast<QFormLayout*>(form->layout())->addRow(title, field.edit);
  connect(field.edit, &QLineEdit::textEdited, this, [this] { pasteProblem_.clear(); });
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
  const GridName name = nameOf(settings.grid == EntryGrid::utm ? PointGrid{.datum = settings.datum} : settings);
  const QString datum = "Datum " + name.datum;
  datum_->setText(national == nullptr    ? datum
                  : name.datum.isEmpty() ? name.kind
                                         : name.kind + ", " + datum.toLower().left(1) + datum.mid(1));
  validate();
}

void PointEntry::setHeading(const QString& text) {
  heading_->setText(text);
}

void PointEntry::begin(int number) {
  setHeading(QString("Coordinates of point %1").arg(number));
  accept_->setText("&Place point");
  drop_->setText("Lea&ve out");
  pasteProblem_.clear();
  for (const Field* field : fieldsInUse()) field->edit->clear();
  begunWith_ = typed();
  validate();
  takeFocus();
}

void PointEntry::takeFocus() {
  fieldsInUse().front()->edit->setFocus(Qt::OtherFocusReason);
}

void PointEntry::beginCorrection(int number, const PositionFields& fields) {
  begin(number);
  accept_->setText("Change &point");
  drop_->setText("Lea&ve as it was");
  setHeading(QString("New coordinates of point %1").arg(number));
  fillFields(fields);
  begunWith_ = typed();
}

/// Shows the form of the fields' grid with these texts in it.
void PointEntry::fillFields(const PositionFields& fields) {
  pasteProblem_.clear();
  setSettings(fields.grid);
  const std::vector<const Field*> edits = fieldsInUse();
  if (fields.letters) letters_.edit->setText(shown(*fields.letters));
  edits.at(edits.size() - 2)->edit->setText(shown(fields.first));
  edits.back()->edit->setText(shown(fields.second));
  takeFocus();
  edits.front()->edit->selectAll();
}

void PointEntry::takePaste(const QLineEdit& edit, const QString& piece) {
  validate();
  if (edit.accessibleDescription().isEmpty()) return;  // it is what belongs into this field
  const PositionReading reading = readPositionText(textBytes(piece), grid(), southernMap_);
  bool number = false;
  piece.trimmed().toDouble(&number);
  if (reading.fields) {
    fillFields(*reading.fields);
  } else if (!number) {
    pasteProblem_ = shown(reading.problem);
    showMessage();
  }
}

PointGrid PointEntry::grid() const {
  PointGrid grid = settings_;
  if (grid.grid == EntryGrid::utm) {
    grid.zone = static_cast<std::int16_t>(zone_->value());
    grid.southern = southern_->isChecked();
  }
  return grid;
}

QString PointEntry::typed() const {
  QStringList texts;
  for (const Field* field : fieldsInUse()) texts << field->edit->text().trimmed();
  if (settings_.grid == EntryGrid::utm)
    texts << QString::number(zone_->value()) << (southern_->isChecked() ? "S" : "N");
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

/// Marks the field when it cannot be read; true when it has a value.
bool PointEntry::reportField(const Field& field, const EntryField& entry) {
  field.edit->setPalette(QPalette());
  field.edit->setAccessibleDescription(shown(entry.problem));
  if (!entry.problem.empty()) {
    colorReason(field.edit, QPalette::Text);
    if (reason_.isEmpty()) reason_ = field.edit->accessibleName().section(" (", 0, 0) + ": " + shown(entry.problem);
  }
  return entry.value.has_value();
}

/// Puts what the fields say into `position_`; false while one is empty or cannot be read.
bool PointEntry::readFields() {
  position_.reset();
  reason_.clear();
  const bool degrees = settings_.grid == EntryGrid::degrees;
  if (degrees) {
    const EntryField latitude = parseLatitude(textOf(latitude_)), longitude = parseLongitude(textOf(longitude_));
    const bool first = reportField(latitude_, latitude);
    if (!reportField(longitude_, longitude) || !first) return false;
    position_ = Position{*latitude.value, *longitude.value};
    return true;
  }
  const NationalGrid* national = nationalGrid(settings_.grid);
  const std::string letters = national != nullptr ? textOf(letters_) : "";
  const std::string problem = national != nullptr ? national->lettersProblem(letters) : "";
  if (national != nullptr) reportField(letters_, {std::nullopt, problem});
  const Field& east = national != nullptr ? gridEasting_ : easting_;
  const Field& north = national != nullptr ? gridNorthing_ : northing_;
  const MetresRange range = metresRange(grid(), trim(letters).empty());
  const EntryField easting = parseMetres(textOf(east), range.west, range.east);
  const EntryField northing = parseMetres(textOf(north), range.south, range.north);
  const bool first = reportField(east, easting);
  if (!reportField(north, northing) || !first || !problem.empty()) return false;
  position_ = gridPosition(grid(), letters, *easting.value, *northing.value);
  return true;
}

void PointEntry::validate() {
  const bool read = readFields();
  outsideArea_ = read && !position_;
  // A reference that cannot be is named below the fields at once, and in a box when it is used all the same.
  accept_->setEnabled(read);
  showMessage();
}

void PointEntry::showMessage() {
  result_->setPalette(QPalette());
  const QString problem = !pasteProblem_.isEmpty() ? pasteProblem_ : outsideArea_ ? QString(invalidGrid) : reason_;
  if (!problem.isEmpty()) {
    colorReason(result_, QPalette::WindowText);
    result_->setText(problem);
  } else {
    result_->setText(position_ ? "= " + shownPosition(position_->latitude, position_->longitude) : QString());
  }
}

void PointEntry::accept() {
  if (outsideArea_) {
    tell(invalidGrid);
    fieldsInUse().front()->edit->setFocus();
    return;
  }
  if (position_) {
    Q_EMIT given(position_->latitude, position_->longitude, grid());
    return;
  }
  for (const Field* field : fieldsInUse()) {
    const bool mayBeEmpty = field == &letters_;
    const bool empty = field->edit->text().trimmed().isEmpty();
    if (!field->edit->accessibleDescription().isEmpty() || (empty && !mayBeEmpty)) {
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

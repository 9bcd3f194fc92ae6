#include "ui/dialogs/calibration_settings.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QVBoxLayout>
#include <algorithm>
#include <array>

#include "geodesy/datum.h"
#include "support/text.h"
#include "ui/widgets/qt_text.h"

namespace vellandra {
namespace {

constexpr int shownDatums = 9;

}  // namespace

CalibrationSettingsDialog::CalibrationSettingsDialog(const CalibrationSettings& settings, QWidget* parent)
    : QDialog(parent),
      degrees_(new QRadioButton("&Degrees/Minutes/Seconds")),
      british_(new QRadioButton("OS &Great Britain")),
      irish_(new QRadioButton("&Irish grid")),
      utm_(new QRadioButton("&UTM zone")),
      zone_(new QSpinBox),
      southern_(new QCheckBox("&Southern hemisphere")),
      filter_(new QLineEdit),
      datums_(new QListWidget),
      note_(new QLabel) {
  setWindowTitle("Map Calibration Settings");
  zone_->setRange(1, 60);
  zone_->setValue(settings.zone);
  zone_->setAccessibleName("UTM zone");
  southern_->setChecked(settings.southern);
  filter_->setObjectName("filter");
  filter_->setPlaceholderText("Filter");
  filter_->setClearButtonEnabled(true);
  filter_->setAccessibleName("Filter of the datum list");
  datums_->setAccessibleName("Datum");
  datums_->setMinimumHeight(shownDatums * datums_->fontMetrics().lineSpacing());
  datums_->setMinimumWidth(40 * datums_->fontMetrics().averageCharWidth());
  note_->setWordWrap(true);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  auto* zoneRow = new QHBoxLayout;
  zoneRow->addWidget(utm_);
  zoneRow->addWidget(zone_);
  zoneRow->addWidget(southern_);
  zoneRow->addStretch();
  auto* datumLabel = new QLabel("D&atum:");
  datumLabel->setBuddy(filter_);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(new QLabel("Choose map grid type:-"));
  layout->addWidget(degrees_);
  layout->addWidget(british_);
  layout->addWidget(irish_);
  layout->addLayout(zoneRow);
  layout->addSpacing(8);
  layout->addWidget(datumLabel);
  layout->addWidget(filter_);
  layout->addWidget(datums_, 1);
  layout->addWidget(note_);
  layout->addWidget(buttons);

  fillDatums(settings.datum);
  const std::array grids = {degrees_, british_, irish_, utm_};
  grids.at(static_cast<std::size_t>(settings.grid))->setChecked(true);
  for (QRadioButton* button : grids) {
    connect(button, &QRadioButton::toggled, this, &CalibrationSettingsDialog::updateEnabled);
  }
  connect(filter_, &QLineEdit::textChanged, this, &CalibrationSettingsDialog::filterDatums);
  connect(datums_, &QListWidget::currentRowChanged, this, &CalibrationSettingsDialog::updateEnabled);
  connect(datums_, &QListWidget::itemDoubleClicked, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  updateEnabled();
}

void CalibrationSettingsDialog::fillDatums(const std::string& chosen) {
  for (int i = 1; i <= datumTable.count; ++i) {
    names_.emplace_back(trim(datumTable.name.at(static_cast<std::size_t>(i))));
  }
  // Points on WGS 84 are not shifted, so it needs no row of the table.
  if (std::ranges::find(names_, wgs84Name) == names_.end()) names_.insert(names_.begin(), wgs84Name);
  for (const std::string& name : names_) {
    auto* item = new QListWidgetItem(shown(name), datums_);
    if (name == chosen || (name == wgs84Name && datums_->currentRow() < 0)) datums_->setCurrentItem(item);
  }
  datums_->scrollToItem(datums_->currentItem(), QAbstractItemView::PositionAtCenter);
}

void CalibrationSettingsDialog::filterDatums(const QString& text) {
  QListWidgetItem* first = nullptr;
  for (int i = 0; i < datums_->count(); ++i) {
    QListWidgetItem* item = datums_->item(i);
    const bool fits = item->text().contains(text.trimmed(), Qt::CaseInsensitive);
    item->setHidden(!fits);
    if (fits && first == nullptr) first = item;
  }
  // What is chosen must be what is seen.
  if (datums_->currentItem() == nullptr || datums_->currentItem()->isHidden()) datums_->setCurrentItem(first);
  updateEnabled();
}

void CalibrationSettingsDialog::updateEnabled() {
  zone_->setEnabled(utm_->isChecked());
  southern_->setEnabled(utm_->isChecked());
  const EntryGrid grid = this->grid();
  const bool choosesDatum = grid == EntryGrid::degrees || grid == EntryGrid::utm;
  filter_->setEnabled(choosesDatum);
  datums_->setEnabled(choosesDatum);
  const bool chosen = datums_->currentItem() != nullptr;
  note_->setText(grid == EntryGrid::british ? "British grid references have their own datum."
                 : grid == EntryGrid::irish ? "Irish grid references are on Ireland 1965."
                 : chosen                   ? "Points will be on " + datums_->currentItem()->text() + "."
                                            : "No datum has this in its name.");
  findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->setEnabled(!choosesDatum || chosen);
}

EntryGrid CalibrationSettingsDialog::grid() const {
  return degrees_->isChecked()   ? EntryGrid::degrees
         : british_->isChecked() ? EntryGrid::british
         : irish_->isChecked()   ? EntryGrid::irish
                                 : EntryGrid::utm;
}

CalibrationSettings CalibrationSettingsDialog::settings() const {
  CalibrationSettings result;
  result.grid = grid();
  if (datums_->currentRow() >= 0) result.datum = names_.at(static_cast<std::size_t>(datums_->currentRow()));
  result.zone = static_cast<std::int16_t>(zone_->value());
  result.southern = southern_->isChecked();
  return result;
}

}  // namespace vellandra

#include "ui/dialogs/preferences_dialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

#include "calibration/preferences.h"
#include "ui/widgets/qt_text.h"

namespace vellandra {
namespace {

class PreferencesDialog : public QDialog {
 public:
  explicit PreferencesDialog(QWidget* parent);

 protected:
  /// Stays open on a number that is not allowed.
  void accept() override;
  void reject() override;

 private:
  PreferencesForm form() const;

  QCheckBox* addCheckBox(QFormLayout* layout, const char* name, const char* caption, bool checked);
  /// A number within `range`; outside, the reason stands beside it.
  QLineEdit* addNumber(QFormLayout* layout, const char* name, const char* caption, int value, NumberRange range);
  QFormLayout* addGroup(QVBoxLayout* column, const char* title);

  QCheckBox *warnOverwrite_, *stretchNotRotate_, *writeWgs84_, *showGrid_, *advancedGarmin_, *transparent_,
      *gisPrograms_;
  QLineEdit *tileWidth_, *tileHeight_, *drawOrder_, *jpegQuality_;
  QComboBox* degreeFormat_;
  const Preferences before_ = preferences;
  const bool changedBefore_ = preferencesChanged;
};

PreferencesDialog::PreferencesDialog(QWidget* parent) : QDialog(parent) {
  setObjectName("preferences");
  setWindowTitle("Preferences");
  auto* left = new QVBoxLayout;
  auto* right = new QVBoxLayout;
  const Preferences& p = preferences;

  QFormLayout* files = addGroup(left, "Written files");
  warnOverwrite_ = addCheckBox(files, "warnoverwrite", "&Ask before a file is replaced", p.warnOverwrite);
  stretchNotRotate_ =
      addCheckBox(files, "stretchnotrotate", "&Stretch world files instead of rotating them", p.stretchNotRotate);
  writeWgs84_ = addCheckBox(files, "writewgs84", "Also &write the input's own format, on WGS 84", p.writeWgs84);
  gisPrograms_ = addCheckBox(files, "gisprograms", "Write for GDAL, QGIS, GP&XSee and Google Earth", p.gisPrograms);

  QFormLayout* viewer = addGroup(left, "Map viewer");
  showGrid_ = addCheckBox(viewer, "showgrid", "Show the map's &grid", p.showGrid);
  degreeFormat_ = new QComboBox;
  degreeFormat_->setObjectName("degreeformat");
  degreeFormat_->addItems({"Degrees", "Degrees and minutes", "Degrees, minutes and seconds"});
  degreeFormat_->setCurrentIndex(p.degreeFormat - 1);
  viewer->addRow("Angles are shown &in", degreeFormat_);
  degreeFormat_->setAccessibleName("Angles are shown in");

  QFormLayout* tiles = addGroup(right, "Tiles");
  tileWidth_ = addNumber(tiles, "tilewidth", "Ti&le width, pixels", p.tileWidth, tileSides);
  tileHeight_ = addNumber(tiles, "tileheight", "Tile &height, pixels", p.tileHeight, tileSides);

  QFormLayout* garmin = addGroup(right, "Garmin Custom Map");
  advancedGarmin_ = addCheckBox(garmin, "advancedgarminmapping", "Choose the tiles &before they are written",
                                p.advancedGarminMapping);
  transparent_ =
      addCheckBox(garmin, "kmztransparency", "&Transparent, over the device's own map", p.kmzTransparency != 0);
  drawOrder_ = addNumber(garmin, "garmindraworder", "&Draw order", p.garminDrawOrder, garminDrawOrders);
  jpegQuality_ =
      addNumber(garmin, "garminjpegquality", "JPEG &quality, 5 is best", p.garminJpegQuality, garminJpegQualities);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

  auto* columns = new QHBoxLayout;
  for (QVBoxLayout* column : {left, right}) {
    column->addStretch();
    columns->addLayout(column);
  }
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(columns);
  layout->addWidget(buttons);
}

QFormLayout* PreferencesDialog::addGroup(QVBoxLayout* column, const char* title) {
  auto* group = new QGroupBox(title);
  auto* form = new QFormLayout(group);
  form->setLabelAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  column->addWidget(group);
  return form;
}

QCheckBox* PreferencesDialog::addCheckBox(QFormLayout* layout, const char* name, const char* caption, bool checked) {
  auto* box = new QCheckBox(caption);
  box->setObjectName(name);
  box->setChecked(checked);
  layout->addRow(box);
  return box;
}

QLineEdit* PreferencesDialog::addNumber(QFormLayout* layout, const char* name, const char* caption, int value,
                                        NumberRange range) {
  auto* edit = new QLineEdit(QString::number(value));
  edit->setObjectName(name);
  edit->setAccessibleName(plainCaption(caption));
  edit->setFixedWidth(fontMetrics().averageCharWidth() * 12);
  auto* reason = new QLabel;
  const QString rangeText = QString("%1 to %2").arg(range.least).arg(range.most);
  const QString refusal = "must be " + rangeText;
  QFont bold = reason->font();
  bold.setBold(true);
  reason->setMinimumWidth(QFontMetrics(bold).horizontalAdvance(refusal));
  const auto check = [=](const QString& text) {
    const bool allowed = numberIn(textBytes(text), range).has_value();
    reason->setText(allowed ? rangeText : refusal);
    reason->setFont(allowed ? edit->font() : bold);
    edit->setAccessibleDescription(reason->text());
  };
  connect(edit, &QLineEdit::textChanged, reason, check);
  check(edit->text());

  auto* row = new QHBoxLayout;
  row->addWidget(edit);
  row->addWidget(reason, 1);
  layout->addRow(caption, row);
  if (auto* label = qobject_cast<QLabel*>(layout->labelForField(row))) label->setBuddy(edit);
  return edit;
}

PreferencesForm PreferencesDialog::form() const {
  return {warnOverwrite_->isChecked(),
          stretchNotRotate_->isChecked(),
          writeWgs84_->isChecked(),
          textBytes(tileWidth_->text()),
          textBytes(tileHeight_->text()),
          showGrid_->isChecked(),
          advancedGarmin_->isChecked(),
          transparent_->isChecked(),
          textBytes(drawOrder_->text()),
          textBytes(jpegQuality_->text()),
          static_cast<std::uint8_t>(degreeFormat_->currentIndex() + 1),
          gisPrograms_->isChecked()};
}

void PreferencesDialog::accept() {
  if (storePreferences(form())) return QDialog::accept();
  for (const auto& [field, range] :
       {std::pair(tileWidth_, tileSides), std::pair(tileHeight_, tileSides), std::pair(drawOrder_, garminDrawOrders),
        std::pair(jpegQuality_, garminJpegQualities)}) {
    if (numberIn(textBytes(field->text()), range)) continue;
    field->setFocus();
    field->selectAll();
    return;
  }
}

void PreferencesDialog::reject() {
  preferences = before_;
  preferencesChanged = changedBefore_;
  QDialog::reject();
}

}  // namespace

bool editPreferences(QWidget* parent) {
  PreferencesDialog dialog(parent);
  return dialog.exec() == QDialog::Accepted;
}

}  // namespace vellandra

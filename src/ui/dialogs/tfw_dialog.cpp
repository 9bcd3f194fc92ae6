#include "ui/dialogs/tfw_dialog.h"

#include <QApplication>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QElapsedTimer>
#include <QGridLayout>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>

#include "ui/widgets/qt_text.h"

namespace vellandra {
namespace {

constexpr const char* zoneMap =
    "<a href=\"https://en.wikipedia.org/wiki/Universal_Transverse_Mercator_coordinate_system#UTM_zone\">"
    "World map of the UTM zones</a>";

QPlainTextEdit* linesOfFile(const std::string& lines) {
  auto* text = new QPlainTextEdit(shown(lines).trimmed());
  text->setObjectName("Text1");
  text->setAccessibleName("Lines of the world file");
  text->setReadOnly(true);
  text->setTabChangesFocus(true);
  text->setLineWrapMode(QPlainTextEdit::NoWrap);
  return text;
}

/// Typed digits find the zone of that number: Qt looks for them at the very start of an entry, which is a blank.
class ZoneList : public QListWidget {
 public:
  void keyboardSearch(const QString& typed) override {
    const bool goesOn = sinceLast_.isValid() && sinceLast_.elapsed() < QApplication::keyboardInputInterval();
    sinceLast_.start();
    sought_ = goesOn ? sought_ + typed : typed;
    for (int row = 0; row < count(); ++row) {
      if (!item(row)->text().trimmed().startsWith(sought_, Qt::CaseInsensitive)) continue;
      setCurrentRow(row);
      return;
    }
  }

 private:
  QString sought_;
  QElapsedTimer sinceLast_;
};

}  // namespace

TfwDialog::TfwDialog(QWidget* parent, const std::string& lines, const std::vector<std::string>& zones)
    : QDialog(parent), zones_(new ZoneList), southern_(new QCheckBox("&Southern Hemisphere")) {
  setObjectName("TFW");
  setWindowTitle("TFW Parameters");
  zones_->setObjectName("List1");
  zones_->setAccessibleName("Zone");
  for (const std::string& zone : zones) zones_->addItem(shown(zone));
  southern_->setObjectName("Check2");

  auto* zoneLabel = new QLabel("&Zone");
  zoneLabel->setBuddy(zones_);
  auto* link = new QLabel(zoneMap);
  link->setObjectName("Label3");
  link->setOpenExternalLinks(true);
  link->setTextInteractionFlags(Qt::TextBrowserInteraction);
  auto* wgs84 = new QPushButton("&WGS84");
  wgs84->setObjectName("Command1");
  auto* notWgs84 = new QPushButton("&Not WGS84");
  notWgs84->setObjectName("Command2");
  for (QPushButton* button : {wgs84, notWgs84}) button->setEnabled(false);
  auto* hint = new QLabel("Choose the zone (the British grid is the last entry), then the datum of the file.");
  hint->setWordWrap(true);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel);
  buttons->addButton(wgs84, QDialogButtonBox::ActionRole);
  buttons->addButton(notWgs84, QDialogButtonBox::ActionRole);

  auto* layout = new QGridLayout(this);
  layout->addWidget(new QLabel("World file"), 0, 0);
  layout->addWidget(linesOfFile(lines), 1, 0, 4, 1);
  layout->addWidget(zoneLabel, 0, 1);
  layout->addWidget(zones_, 1, 1);
  layout->addWidget(southern_, 2, 1);
  layout->addWidget(link, 3, 1);
  layout->addWidget(hint, 4, 1);
  layout->addWidget(buttons, 5, 0, 1, 2);
  layout->setColumnStretch(0, 1);
  layout->setColumnStretch(1, 1);
  wgs84->setDefault(true);
  zones_->setFocus();
  resize(sizeHint().expandedTo({fontMetrics().averageCharWidth() * 70, fontMetrics().height() * 22}));

  connect(zones_, &QListWidget::itemSelectionChanged, this, [=, this] {
    const bool selected = !zones_->selectedItems().isEmpty();
    wgs84->setEnabled(selected);
    notWgs84->setEnabled(selected);
    southern_->setEnabled(!selected || zones_->currentRow() != zones_->count() - 1);
  });
  connect(wgs84, &QPushButton::clicked, this, [this] { choose(WorldFileAnswer::Datum::wgs84); });
  connect(notWgs84, &QPushButton::clicked, this, [this] { choose(WorldFileAnswer::Datum::notWgs84); });
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

void TfwDialog::choose(WorldFileAnswer::Datum datum) {
  const int row = zones_->currentRow();
  const bool britishGrid = row == zones_->count() - 1;  // the entry behind the zones
  answer_.datum = datum;
  answer_.zone = static_cast<std::int16_t>(britishGrid ? 0 : row + 1);
  answer_.southern = !britishGrid && southern_->isChecked();
  accept();
}

}  // namespace vellandra

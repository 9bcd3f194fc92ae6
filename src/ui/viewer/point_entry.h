#pragma once

#include <QWidget>
#include <string>
#include <vector>

#include "geodesy/position_entry.h"
#include "ui/dialogs/calibration_settings.h"

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;
class QStackedWidget;

namespace vellandra {

/// The panel that asks for the coordinates of one calibration point, in the terms of the settings. It stands beside the
/// map and holds nothing up: the map can be moved and zoomed while it waits.
class PointEntry : public QWidget {
  Q_OBJECT

 public:
  explicit PointEntry(QWidget* parent);

  void setSettings(const CalibrationSettings& settings);
  /// Empty fields for point `number`, with the cursor in the first.
  void begin(int number);
  /// The same for a point that has coordinates, which stand in the fields as degrees when these are in use.
  void beginCorrection(int number, double latitude, double longitude);
  void setHeading(const QString& text);
  void takeFocus();        ///< to the first field
  bool isTouched() const;  ///< something has been typed since the beginning

 Q_SIGNALS:
  /// The coordinates, in degrees on the datum of this name.
  void given(double latitude, double longitude, const std::string& datum);
  void dropped();

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  struct Field {
    QLineEdit* edit;
    QLabel* reason;
  };
  Field addField(QWidget* form, const char* label, const char* example);
  QWidget* degreesForm();
  QWidget* nationalGridForm();
  QWidget* utmForm();
  std::vector<const Field*> fieldsInUse() const;
  QString typed() const;  ///< what stands in the fields, all in one
  static std::string textOf(const Field& field);
  static bool reportField(const Field& field, const EntryField& entry);
  bool readFields();
  bool readNationalGrid();
  void validate();
  void accept();

  CalibrationSettings settings_;
  QString begunWith_;
  QLabel* heading_;
  QLabel* datum_;
  QStackedWidget* forms_;
  Field latitude_{}, longitude_{};
  Field letters_{}, gridEasting_{}, gridNorthing_{};  ///< of the British or the Irish grid
  Field easting_{}, northing_{};
  QSpinBox* zone_ = nullptr;
  QCheckBox* southern_ = nullptr;
  QLabel* result_;
  QPushButton* accept_;
  QPushButton* drop_;
  std::optional<Position> position_;
  bool outsideArea_ = false;  ///< the fields can be read but name no place that is allowed
};

}  // namespace vellandra

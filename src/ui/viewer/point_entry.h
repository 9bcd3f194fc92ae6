#pragma once

#include <QWidget>
#include <string>
#include <vector>

#include "geodesy/position_entry.h"
#include "geodesy/position_text.h"
#include "ui/dialogs/calibration_settings.h"

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;
class QStackedWidget;

namespace vellandra {

/// The panel that asks for the coordinates of one calibration point, in the terms of the settings. A whole position
/// pasted into any field fills all of them, in its own terms. It stands beside the map and holds nothing up: the map
/// can be moved and zoomed while it waits. Words about what is typed do not change its height.
class PointEntry : public QWidget {
  Q_OBJECT

 public:
  explicit PointEntry(QWidget* parent);

  void setSettings(const CalibrationSettings& settings);
  /// Empty fields for point `number`, with the cursor in the first.
  void begin(int number);
  /// The same for a point that has coordinates, which stand in the fields of their grid.
  void beginCorrection(int number, const PositionFields& fields);
  /// On which side of the equator the map lies, where that is known: it settles what pasted text leaves open.
  void setHemisphere(std::optional<bool> southern) { southernMap_ = southern; }
  void setHeading(const QString& text);
  void takeFocus();        ///< to the first field
  bool isTouched() const;  ///< something has been typed since the beginning

 Q_SIGNALS:
  /// The coordinates, in degrees on the grid's datum.
  void given(double latitude, double longitude, const PointGrid& grid);
  void dropped();

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  struct Field {
    QLineEdit* edit = nullptr;
  };
  Field addField(QWidget* form, const char* label, const char* example);
  QWidget* degreesForm();
  QWidget* nationalGridForm();
  QWidget* utmForm();
  std::vector<const Field*> fieldsInUse() const;
  QString typed() const;  ///< what stands in the fields, all in one
  static std::string textOf(const Field& field);
  bool reportField(const Field& field, const EntryField& entry);
  void takePaste(const QLineEdit& edit, const QString& piece);
  void fillFields(const PositionFields& fields);
  PointGrid grid() const;  ///< of what is being typed
  void showMessage();
  bool readFields();
  void validate();
  void accept();

  CalibrationSettings settings_;
  std::optional<bool> southernMap_;
  QString begunWith_;
  QString reason_;        ///< why a field cannot be read, the first of them
  QString pasteProblem_;  ///< why pasted text is no position, until something else is typed
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

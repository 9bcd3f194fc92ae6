#pragma once

#include <QDialog>
#include <string>
#include <vector>

#include "geodesy/point_grid.h"

class QLabel;
class QLineEdit;
class QListWidget;
class QCheckBox;
class QRadioButton;
class QSpinBox;

namespace vellandra {

/// In which terms the coordinates of new points are given; the datum is not asked for on the national grids.
using CalibrationSettings = PointGrid;

/// What was chosen last; the next viewer starts from it.
inline CalibrationSettings lastCalibrationSettings;

/// "Map Calibration Settings": the kind of coordinates and their datum.
class CalibrationSettingsDialog : public QDialog {
  Q_OBJECT

 public:
  CalibrationSettingsDialog(const CalibrationSettings& settings, QWidget* parent);
  CalibrationSettings settings() const;

 private:
  void fillDatums(const std::string& chosen);
  void filterDatums(const QString& text);
  void updateEnabled();
  EntryGrid grid() const;

  QRadioButton* degrees_;
  QRadioButton* british_;
  QRadioButton* irish_;
  QRadioButton* utm_;
  QSpinBox* zone_;
  QCheckBox* southern_;
  QLineEdit* filter_;
  QListWidget* datums_;
  QLabel* note_;
  std::vector<std::string> names_;  ///< of the datums, in the order of the list
};

}  // namespace vellandra

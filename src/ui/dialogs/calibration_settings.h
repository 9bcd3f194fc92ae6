#pragma once

#include <QDialog>
#include <cstdint>
#include <string>
#include <vector>

#include "geodesy/datum.h"

class QLabel;
class QLineEdit;
class QListWidget;
class QCheckBox;
class QRadioButton;
class QSpinBox;

namespace vellandra {

enum class EntryGrid { degrees, british, irish, utm };

/// In which terms the coordinates of new points are given.
struct CalibrationSettings {
  EntryGrid grid = EntryGrid::degrees;
  std::string datum = wgs84Name;  ///< trimmed name from the datum table; points of the national grids have their own
  std::int16_t zone = 30;         ///< of UTM
  bool southern = false;
  bool operator==(const CalibrationSettings&) const = default;
};

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

#pragma once

#include <QDialog>
#include <string>
#include <vector>

#include "support/user_interface.h"

class QCheckBox;
class QListWidget;

namespace vellandra {

/// "TFW Parameters": zone, hemisphere and datum of a world file in grid coordinates.
class TfwDialog : public QDialog {
 public:
  TfwDialog(QWidget* parent, const std::string& lines, const std::vector<std::string>& zones);
  const WorldFileAnswer& answer() const { return answer_; }

 private:
  void choose(WorldFileAnswer::Datum datum);

  QListWidget* zones_;
  QCheckBox* southern_;
  WorldFileAnswer answer_;
};

}  // namespace vellandra

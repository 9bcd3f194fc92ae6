#pragma once

#include <QTreeWidget>
#include <vector>

#include "ui/viewer/map_viewer_session.h"

namespace vellandra {

/// The list of calibration points beside the map. Its columns stand in one table, behind this class.
class PointList : public QTreeWidget {
  Q_OBJECT

 public:
  explicit PointList(QWidget* parent);

  /// One row a point; `residuals` may be shorter. Point number `selected` is the current one, 0 for none.
  void setPoints(const std::vector<TiePoint>& points, const std::vector<double>& residuals, int selected);
  /// Room for the longest texts and the scroll bar.
  int widthOfRows() const;

 Q_SIGNALS:
  void chosen(int number);  ///< by the person

 private:
  bool filling_ = false;
};

}  // namespace vellandra

#pragma once

#include <QTreeWidget>
#include <optional>
#include <vector>

#include "ui/viewer/map_viewer_session.h"

namespace vellandra {

/// The list of calibration points beside the map. Its columns stand in one table, behind this class.
class PointList : public QTreeWidget {
  Q_OBJECT

 public:
  explicit PointList(QWidget* parent);

  using Residuals = std::vector<std::optional<double>>;
  /// One row a point, with its residual if it has one. Point number `selected` is the current one, 0 for none.
  void setPoints(const std::vector<TiePoint>& points, const Residuals& residuals, int selected);
  /// From the next `setPoints` on the largest residual comes first; else the points stand as they were entered.
  void setWorstFirst(bool worstFirst);
  /// Room for the longest texts and the scroll bar.
  int widthOfRows() const;

 Q_SIGNALS:
  void chosen(int number);  ///< by the person
  void switched(int number, bool off);
  void orderAsked(bool worstFirst);  ///< by a click on a heading

 private:
  bool filling_ = false;
  bool worstFirst_ = false;
};

}  // namespace vellandra

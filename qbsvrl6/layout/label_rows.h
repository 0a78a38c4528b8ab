// The rows of labels in the order of printing, each as often as it has copies, and their positions on sheets.
#ifndef QBSVR_QBSVRL6_LAYOUT_LABEL_ROWS_H
#define QBSVR_QBSVRL6_LAYOUT_LABEL_ROWS_H

#include <cstddef>
#include <optional>
#include <vector>

#include "qbsvrl6/bind/row_view.h"
#include "qbsvrl6/layout/report_plan.h"

namespace qbsvrl6 {

// A label of a sheet.
struct LabelPlace {
    std::size_t row = 0;
    bool isFirst = false;  // of the copies of its row
};

// The labels of a sheet, line by line. An empty place has no label.
using LabelSheet = std::vector<std::optional<LabelPlace>>;

class LabelRows {
public:
    // Both outlive the object. Raises EngineError(LimitExceeded) for a row with too many copies, as do the
    // other functions.
    LabelRows(RowView& view, const PlannedLabels& labels);

    bool isDone() const { return left_ == 0; }
    // Row that the next label shows, or that of the last one.
    std::size_t row() const { return row_; }
    // The end of the rows whose first label is printed, and of those without labels after them.
    std::size_t passed() const { return isDone() ? view_.rowCount() : row_ + (isFirst_ ? 0 : 1); }
    // The number of labels from the next one on. It evaluates the copies of all rows.
    std::size_t count() const;
    // The place of the first label on a sheet with so many places, from 0.
    std::size_t start(std::size_t places) const;
    // The labels of a sheet with this many lines, from the place `first` on. The lines after the last label
    // are left out.
    LabelSheet nextSheet(std::size_t lines, std::size_t first);

private:
    int copiesOf(std::size_t row) const;
    void skipRowsWithoutCopies();

    RowView& view_;
    const PlannedLabels& labels_;
    std::size_t row_ = 0;
    int left_ = 0;  // labels of the row
    bool isFirst_ = true;
};

}  // namespace qbsvrl6

#endif

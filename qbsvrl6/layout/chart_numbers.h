// The numbers of a report's charts, from its rows.
#ifndef QBSVR_QBSVRL6_LAYOUT_CHART_NUMBERS_H
#define QBSVR_QBSVRL6_LAYOUT_CHART_NUMBERS_H

#include <cstdint>
#include <memory>
#include <unordered_map>

#include "qbsvrl6/layout/report_plan.h"

namespace qbsvrl6 {

// Caches the last numbers of each chart: a header that is repeated on each page, and all cells of a group,
// show the same numbers.
class ChartNumbers {
public:
    // `now` is the time of the export, for charts that read another table.
    ChartNumbers(RowView& view, std::int64_t now) : view_(view), now_(now) {}

    // The numbers of the chart at the position. `name` is the control's, for messages.
    std::shared_ptr<const ChartData> of(PlannedChart& chart, const Position& position,
                                        const std::u16string& name);

private:
    struct Known {
        RowRange rows;
        std::shared_ptr<const ChartData> data;
    };

    RowView& view_;
    const std::int64_t now_;
    std::unordered_map<const PlannedChart*, Known> known_;
};

}  // namespace qbsvrl6

#endif

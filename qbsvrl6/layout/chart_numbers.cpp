#include "qbsvrl6/layout/chart_numbers.h"

namespace qbsvrl6 {

std::shared_ptr<const ChartData> ChartNumbers::of(PlannedChart& chart, const Position& position,
                                                  const std::u16string& name) {
    if (!chart.query) return {std::shared_ptr<void>(), &chart.content->data};
    const Table* const table = chart.table ? chart.table->sources().rows : nullptr;
    const RowRange rows =
        chart.table ? view_.holders(table, position) : view_.rowsOf(position.scope, position.row);
    Known& known = known_[&chart];
    if (known.data && known.rows == rows) return known.data;
    known.rows = rows;
    if (chart.table) {
        RowView view(*chart.table, view_.passed(), now_, view_.rowsInside(table, position), view_.tables());
        known.data = std::make_shared<ChartData>(chart.query->evaluate(view, {0, view.rowCount()}, name));
    } else {
        known.data = std::make_shared<ChartData>(chart.query->evaluate(view_, rows, name));
    }
    return known.data;
}

}  // namespace qbsvrl6

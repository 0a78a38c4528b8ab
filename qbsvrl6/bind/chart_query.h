// The compiled description of a chart of rows, which collects the chart's numbers from rows.
#ifndef QBSVR_QBSVRL6_BIND_CHART_QUERY_H
#define QBSVR_QBSVRL6_BIND_CHART_QUERY_H

#include <optional>
#include <vector>

#include "qbsvrl6/bind/row_view.h"
#include "qbsvrl6/model/chart.h"

namespace qbsvrl6 {

class ChartQuery {
public:
    // `rows` outlives the query. Its filter is compiled only if it names no table: another table's binding
    // filters its rows. Raises EngineError(BadExpression).
    ChartQuery(const ChartRows& rows, Binding& binding);

    // The numbers of a range of rows, in time linear in them. `view` is a view of the binding. `name` is the
    // chart's, for messages. Raises EngineError(LimitExceeded) for too many series, values or points.
    ChartData evaluate(RowView& view, RowRange range, const std::u16string& name);

private:
    struct Series {
        TextTemplate label;
        AggregateKind aggregate = AggregateKind::Sum;
        std::optional<Expression> value;  // none: the rows themselves
        std::optional<Expression> x, y, size;
    };
    // What a term of the sort reads of the rows of a category.
    struct SortValue {
        AggregateKind aggregate = AggregateKind::Minimum;
        std::optional<Expression> value;  // none: the rows themselves
    };
    class Gathering;

    void compileSort(const ChartRows& rows, Binding& binding);

    std::optional<Expression> filter_;
    TextTemplate category_;
    std::vector<SortTerm> sortTerms_;
    std::vector<SortValue> sortValues_;  // of each term
    TextPosition sortPlace_;
    std::size_t top_ = 0;  // 0: all
    std::u16string others_;
    std::vector<Series> series_;
};

}  // namespace qbsvrl6

#endif

// What the totals of a cross-table add up, row by row.
#ifndef QBSVR_QBSVRL6_BIND_CROSS_ARGUMENTS_H
#define QBSVR_QBSVRL6_BIND_CROSS_ARGUMENTS_H

#include <cstddef>
#include <span>
#include <vector>

#include "qbsvrl6/bind/cross_axis.h"
#include "qbsvrl6/bind/row_view.h"

namespace qbsvrl6 {

// The rows of a key are far apart in the table: columns are read in the order of the table, which the caches of the
// table and of the processor are made for, some ten thousand values at a time. Other expressions are evaluated in the
// order of the view: they may depend on the rows before them.
class CrossArguments {
public:
    // `arguments` are those of the totals; null: a total of the rows themselves. All of it outlives this.
    CrossArguments(RowView& view, const CrossAxis& rows, const CrossAxis& columns,
                   std::vector<const Expression*> arguments);

    // Of a row of the view that both axes show, by total. Valid until a later row is asked for.
    std::span<const Value> of(std::size_t row) {
        if (row >= end_) read(row);
        return {&values_[(row - first_) * arguments_.size()], arguments_.size()};
    }

private:
    void read(std::size_t first);

    RowView& view_;
    const CrossAxis& rows_;
    const CrossAxis& columns_;
    const std::vector<const Expression*> arguments_;
    bool areColumns_;
    std::size_t first_ = 0, end_ = 0;  // of the rows that have been read
    std::vector<Value> values_;
    TextArena texts_;
};

}  // namespace qbsvrl6

#endif

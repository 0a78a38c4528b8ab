// The position at which an expression is evaluated.
#ifndef QBSVR_QBSVRL6_BIND_POSITION_H
#define QBSVR_QBSVRL6_BIND_POSITION_H

#include <cstddef>

#include "qbsvrl6/bind/expression.h"

namespace qbsvrl6 {

// Rows in the order of the walk. Only the range of a page that is still being filled may extend beyond the
// last row.
struct RowRange {
    std::size_t first = 0;
    std::size_t end = 0;  // after the last one
    bool operator==(const RowRange&) const = default;
};

// Everything that a value depends on besides the data.
struct Position {
    std::size_t row = 0;                // without rows, every column reads as null
    Scope scope{ScopeKind::Report, 0};  // of aggregates without a scope; never Default
    RowRange pageRows;                  // rows on the page
    bool isBeforeRow = false;           // for a page before the row: running totals don't include it yet
    int pageNumber = 1;
    int pageCount = 1;
};

}  // namespace qbsvrl6

#endif

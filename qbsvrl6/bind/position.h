// The position at which an expression is evaluated.
#ifndef QBSVR_QBSVRL6_BIND_POSITION_H
#define QBSVR_QBSVRL6_BIND_POSITION_H

#include <cstddef>

#include "qbsvrl6/bind/expression.h"
#include "qbsvrl6/data/parent_rows.h"

namespace qbsvrl6 {

// Everything that a value depends on besides the data.
struct Position {
    std::size_t row = 0;                // without rows, every column reads as null
    Scope scope{ScopeKind::Report, 0};  // of aggregates without a scope; never Default
    RowRange pageRows;                  // on the page; while it is filled, they may end after the last row
    bool ofRow = false;        // in texts of a row, aggregates over child tables cover the row's own children
    bool ofOthers = false;     // in the header or footer of a group of others, the row is not read
    bool isBeforeRow = false;  // for a page before the row: running totals don't include it yet
    int pageNumber = 1;
    int pageCount = 1;
    bool operator==(const Position&) const = default;
};

}  // namespace qbsvrl6

#endif

// The scopes of totals in the expressions of a cross-table.
#ifndef QBSVR_QBSVRL6_BIND_CROSS_EXPRESSION_H
#define QBSVR_QBSVRL6_BIND_CROSS_EXPRESSION_H

#include <cstdint>
#include <string_view>

#include "qbsvrl6/bind/expression.h"

namespace qbsvrl6 {

// The cells whose rows a total covers, seen from the cell that shows it.
enum class CrossScopeKind : std::uint8_t {
    Cell,
    Row,            // all cells of its row
    Column,         // all cells of its column
    All,            // all cells
    RowLevel,       // those of the same key of a row level, in its column
    ColumnLevel,    // those of the same key of a column level, in its row
    RunningAcross,  // those of its row up to its column
    RunningDown,    // those of its column up to its row
};

struct CrossScope {
    CrossScopeKind kind = CrossScopeKind::Cell;
    std::size_t level = 0;  // of a level, from 0
};

// Raises EngineError(BadExpression) for a scope that the cross-table does not have. `text` is that of the
// expression.
CrossScope crossScopeOf(const Aggregate& aggregate, const CrossTable& cross, std::u16string_view text);

// Raises the same error if a total in a parsed expression has no such scope, or if a running total cannot be
// one.
void checkCrossExpression(const Expression& expression, const CrossTable& cross, std::u16string_view text);

}  // namespace qbsvrl6

#endif

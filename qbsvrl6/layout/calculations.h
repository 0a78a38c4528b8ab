// Finds what the texts of an export are to the totals of their reports.
#ifndef QBSVR_QBSVRL6_LAYOUT_CALCULATIONS_H
#define QBSVR_QBSVRL6_LAYOUT_CALCULATIONS_H

#include <cstddef>
#include <cstdint>
#include <unordered_map>

#include "qbsvrl6/bind/row_view.h"
#include "qbsvrl6/items/calculation.h"
#include "qbsvrl6/layout/report_plan.h"

namespace qbsvrl6 {

// Of expressions of one binding, whether they have the same value at every row.
struct SameExpression {
    bool operator()(const Expression* a, const Expression* b) const;
};

struct ExpressionHash {
    std::size_t operator()(const Expression* expression) const;
};

class Calculations {
public:
    // A number for one walk over the rows of a report.
    std::uint32_t newWalk() { return ++walks_; }

    // Of a text that is shown at the position; None if it is neither the value of a row nor a total over all
    // rows of a group or of the report.
    Calculation of(const PlannedText& text, const Position& position, const RowView& view,
                   std::uint32_t walk);

private:
    struct Role {
        Calculation::Kind kind = Calculation::Kind::None;
        std::uint32_t expression = 0;
        Scope scope;
    };
    Role roleOf(const PlannedText& text);
    std::uint32_t numberOf(const Expression& expression);

    std::uint32_t walks_ = 0;
    std::unordered_map<const PlannedText*, Role> roles_;
    // The number of each expression; those that have the same value at every row share one.
    std::unordered_map<const Expression*, std::uint32_t, ExpressionHash, SameExpression> numbers_;
};

}  // namespace qbsvrl6

#endif

// Finds what the texts of an export are to the totals of their reports.
#ifndef QBSVR_QBSVRL6_LAYOUT_CALCULATIONS_H
#define QBSVR_QBSVRL6_LAYOUT_CALCULATIONS_H

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "qbsvrl6/bind/row_view.h"
#include "qbsvrl6/items/calculation.h"
#include "qbsvrl6/layout/report_plan.h"

namespace qbsvrl6 {

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
    std::vector<const Expression*> expressions_;  // each is different from the others
};

}  // namespace qbsvrl6

#endif

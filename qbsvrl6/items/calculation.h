// What a number is to the totals of its report.
#ifndef QBSVR_QBSVRL6_ITEMS_CALCULATION_H
#define QBSVR_QBSVRL6_ITEMS_CALCULATION_H

#include <cstdint>

#include "qbsvrl6/data/parent_rows.h"

namespace qbsvrl6 {

// The value of a row, or a total over such values. Documents whose totals are formulas find the cells of a
// total by it: those of the same walk and expression, for each of its rows.
struct Calculation {
    enum class Kind : std::uint8_t { None, RowValue, Sum, Average, Count, Minimum, Maximum };

    Kind kind = Kind::None;
    std::uint8_t groups = 0;  // levels of groups of its report
    std::uint8_t startingLevel =
        0;                   // of a row value: the outermost of them that starts at its row, or `groups`
    std::uint32_t walk = 0;  // of the report: a sub-report has one for each place that shows it
    std::uint32_t expression = 0;  // of the row values
    RowRange rows;                 // in the order of the walk

    bool isTotal() const { return kind > Kind::RowValue; }
};

}  // namespace qbsvrl6

#endif

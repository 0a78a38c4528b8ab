// Finds the totals of a sheet that are formulas over the cells above them.
#ifndef QBSVR_QBSVRL6_SHEET_WORKBOOK_COLUMN_TOTALS_H
#define QBSVR_QBSVRL6_SHEET_WORKBOOK_COLUMN_TOTALS_H

#include <cstdint>
#include <optional>
#include <vector>

#include "qbsvrl6/items/calculation.h"
#include "qbsvrl6/sheet/workbook/sheet_value.h"

namespace qbsvrl6 {

// Cells of a sheet arrive row by row. A total becomes a formula if the values of all of its rows, and no
// other numbers except subtotals, are in one column of consecutive rows, and the formula gives the number that
// the report shows. Memory does not grow with the rows.
class ColumnTotals {
public:
    // The next cells are on a new sheet.
    void clear() { columns_.clear(); }
    // Takes the next cell into account. Returns the formula of a total; none if it stays a value.
    std::optional<SheetFormula> add(int column, std::int64_t row, const Calculation& calculation,
                                    const SheetValue& value);

private:
    // The values of consecutive rows of the report, in one column.
    struct Run {
        RowRange rows;
        std::int64_t firstRow = 0, lastRow = 0;  // of the sheet
        std::size_t numbers = 0;
        double sum = 0, correction = 0;  // the rounding errors of `sum`
        double least = 0, greatest = 0;
        bool isBroken = false;        // it is not what a formula over its cells would add up
        bool isFollowed = false;      // by another number, which a further value would enclose
        bool enclosesTotals = false;  // subtotals, which further subtotals leave out
        bool isFollowedByTotal = false;
    };
    struct Column {
        std::uint32_t walk = 0, expression = 0;
        std::vector<Run> runs;  // of the whole report and of the current group of each level
    };

    void addRowValue(Column& column, std::int64_t row, const Calculation& calculation,
                     const SheetValue& value);
    static void extend(Run& run, std::int64_t row, const Calculation& calculation, const SheetValue& value);
    std::optional<SheetFormula> formulaOf(int column, const Calculation& total,
                                          const SheetValue& value) const;
    static std::optional<SheetFormula> formulaIn(const Column& column, const Calculation& total,
                                                 const SheetValue& value);

    std::vector<Column> columns_;  // of the sheet
};

}  // namespace qbsvrl6

#endif

// Finds the totals of a sheet that are formulas over the cells above or below them.
#ifndef QBSVR_QBSVRL6_SHEET_WORKBOOK_COLUMN_TOTALS_H
#define QBSVR_QBSVRL6_SHEET_WORKBOOK_COLUMN_TOTALS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "qbsvrl6/items/band.h"
#include "qbsvrl6/items/calculation.h"
#include "qbsvrl6/sheet/workbook/sheet_value.h"

namespace qbsvrl6 {

// Cells of a sheet arrive row by row. A total becomes a formula if the values of all of its rows, and no
// other numbers except subtotals, are in one column of consecutive rows, and the formula gives the number that
// the report shows. For a total above its rows, in a header, that is known after them. Memory grows with such
// totals, but not with the rows.
class ColumnTotals {
public:
    // The next cells are on a new sheet.
    void clear();
    // Takes the next cell of a band into account. Sets the formula of a total, or the number of one that is
    // known later; neither, if it stays a value.
    void add(int column, std::int64_t row, const Calculation& calculation, const Band& band,
             SheetValue& value);
    // The cells of a row are complete.
    void endRow();

    // Whether all formulas are known that were left for later.
    bool isSettled() const { return open_.empty(); }
    // One of these; none: the total stays a value.
    const std::optional<SheetFormula>& laterFormula(std::size_t number) const { return later_[number]; }

private:
    // A total above its rows.
    struct OpenTotal {
        int column;
        std::int64_t row;
        Calculation total;
        double number;
        std::u16string format;
        std::size_t later;

        SheetValue value() const;
    };
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
    std::optional<SheetFormula> formulaIn(int column, const Calculation& total,
                                          const SheetValue& value) const;
    void noteNumber(int column, bool isSubtotal);
    // Finds the formulas of open totals for which `isComplete`; others of these stay open unless `isLast`.
    template <class IsComplete>
    void settle(IsComplete isComplete, bool isLast);
    void giveUp(const OpenTotal& open);

    std::vector<Column> columns_;  // of the sheet
    std::vector<OpenTotal> open_;  // outer groups before inner ones
    std::vector<std::optional<SheetFormula>> later_;
    Calculation lastRow_;  // the last value of a row
};

}  // namespace qbsvrl6

#endif

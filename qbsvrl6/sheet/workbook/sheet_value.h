// Values of spreadsheet cells, and units of spreadsheets.
#ifndef QBSVR_QBSVRL6_SHEET_WORKBOOK_SHEET_VALUE_H
#define QBSVR_QBSVRL6_SHEET_WORKBOOK_SHEET_VALUE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "qbsvrl6/items/item.h"

namespace qbsvrl6 {

// Cells of a sheet. Rows and columns count from 0.
struct SheetArea {
    std::int64_t firstRow = 0, lastRow = 0;
    int firstColumn = 0, lastColumn = 0;
};

// A total over cells of one column, as a formula. Rows and columns count from 0.
struct SheetFormula {
    enum class Function { Sum, Average, Count, Minimum, Maximum } function = Function::Sum;
    bool isSubtotal = false;  // leaves out the subtotals among the cells, and rows that a filter hides
    int column = 0;
    std::int64_t firstRow = 0, lastRow = 0;
};

struct SheetValue {
    enum class Kind { Blank, Text, Number, Boolean } kind = Kind::Blank;
    double number = 0;  // for a date, its serial number
    bool boolean = false;
    std::u16string_view text;
    std::u16string_view format;               // number format; empty: general
    std::optional<SheetFormula> formula;      // of which the number is the value
    std::optional<std::size_t> laterFormula;  // the same, by its number in ColumnTotals

    bool isNumber() const { return kind == Kind::Number; }
};

// The value of an item (null: blank). A number that a spreadsheet would not show completely stays text: long
// identifiers, and values that are not finite. So do dates before March 1900, about which spreadsheets
// disagree, dates after 9999, and booleans for which the report has its own words. Texts are cut at
// `maxUnits`.
SheetValue sheetValue(const Item* item, std::size_t maxUnits);

// The name of a sheet, from a title. `number` is that of the sheet among those with this title, from 1.
std::u16string sheetName(std::u16string_view title, std::size_t number);

// A rotation in the numbers of workbooks: 0 to 90 are degrees upwards; from 91 on, degrees downwards.
constexpr int rotationNumber(int clockwise) { return clockwise == 90 ? 180 : clockwise == 270 ? 90 : 0; }

// The greatest height of a row: 409.5 points.
inline constexpr Micrometres kMaxRowHeight = 144'462;

inline double points(Micrometres length) { return length / kMicrometresPerPoint; }

// The line weights of spreadsheets.
enum class LineWeight { None, Hair, Thin, Medium, Thick };
LineWeight lineWeight(Micrometres width);

}  // namespace qbsvrl6

#endif

#include "qbsvrl6/sheet/workbook/column_totals.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qbsvrl6 {

namespace {

using Kind = Calculation::Kind;

// The decimal places that a number format shows; none for the general format and for exponents.
std::optional<int> placesOf(std::u16string_view format) {
    if (format.empty()) return std::nullopt;
    int places = 0;
    bool isQuoted = false;
    bool isAfterPoint = false;
    for (const char16_t unit : format) {
        if (unit == u'"') isQuoted = !isQuoted;
        if (isQuoted) continue;
        if (unit == u';') break;
        if (unit == u'E' || unit == u'G') return std::nullopt;
        if (unit == u'%') places += 2;
        if (unit == u'.') isAfterPoint = true;
        if (isAfterPoint && (unit == u'0' || unit == u'#')) ++places;
    }
    return places;
}

// Whether a spreadsheet that calculates `computed` shows the same as for `exact`, the number of the report.
// Spreadsheets calculate with doubles and show at most 15 digits.
bool showsSame(double computed, double exact, std::u16string_view format) {
    if (computed == exact) return true;
    if (computed == 0 || exact == 0) return false;
    const double difference = std::abs(computed - exact);
    constexpr double kShownDigits = 1e-15;
    if (difference <= kShownDigits * std::abs(exact)) return true;
    const std::optional<int> places = placesOf(format);
    constexpr double kGeneralDigits = 1e-12;
    if (!places) return difference <= kGeneralDigits * std::abs(exact);
    constexpr double kUnseen = 1e-3;  // of the last place
    const double scale = std::pow(10.0, *places);
    const double scaled = std::abs(exact) * scale;
    const double toHalf = std::abs(scaled - std::floor(scaled) - 0.5);
    return difference * scale < std::min(kUnseen, toHalf / 2);
}

}  // namespace

std::optional<SheetFormula> ColumnTotals::add(int column, std::int64_t row, const Calculation& calculation,
                                              const SheetValue& value) {
    const auto index = static_cast<std::size_t>(column);
    if (columns_.size() <= index) columns_.resize(index + 1);
    if (calculation.kind == Kind::RowValue) {
        addRowValue(columns_[index], row, calculation, value);
        return std::nullopt;
    }
    std::optional<SheetFormula> formula;
    if (calculation.isTotal()) formula = formulaOf(column, calculation, value);
    if (value.isNumber()) {
        const bool isSubtotal = formula && formula->isSubtotal;
        for (Run& run : columns_[index].runs) (isSubtotal ? run.isFollowedByTotal : run.isFollowed) = true;
    }
    return formula;
}

void ColumnTotals::addRowValue(Column& column, std::int64_t row, const Calculation& calculation,
                               const SheetValue& value) {
    const std::size_t row0 = calculation.rows.first;
    const bool isOther = column.walk != calculation.walk || column.expression != calculation.expression;
    if (isOther || row0 == 0) {
        column = {calculation.walk, calculation.expression, {}};
        column.runs.resize(calculation.groups + std::size_t{1});
    }
    for (std::size_t level = 0; level < column.runs.size(); ++level) {
        Run& run = column.runs[level];
        const bool begins = run.rows.end == 0 || level > calculation.startingLevel;
        if (begins) {
            run = {};
            run.rows = {row0, row0};
            run.firstRow = row;
        }
        extend(run, row, calculation, value);
    }
}

void ColumnTotals::extend(Run& run, std::int64_t row, const Calculation& calculation,
                          const SheetValue& value) {
    const bool isPlain = value.kind == SheetValue::Kind::Blank || value.isNumber();
    if (calculation.rows.first != run.rows.end || run.isFollowed || !isPlain) run.isBroken = true;
    run.rows.end = calculation.rows.end;
    run.lastRow = row;
    run.enclosesTotals = run.enclosesTotals || run.isFollowedByTotal;
    if (!value.isNumber()) return;
    const double number = value.number;
    run.least = run.numbers == 0 ? number : std::min(run.least, number);
    run.greatest = run.numbers == 0 ? number : std::max(run.greatest, number);
    ++run.numbers;
    const double sum = run.sum + number;
    run.correction +=
        std::abs(run.sum) >= std::abs(number) ? (run.sum - sum) + number : (number - sum) + run.sum;
    run.sum = sum;
}

// The column of the total itself is preferred, if the values are shown in several.
std::optional<SheetFormula> ColumnTotals::formulaOf(int column, const Calculation& total,
                                                    const SheetValue& value) const {
    if (!value.isNumber()) return std::nullopt;
    const auto in = [&](std::size_t index) {
        std::optional<SheetFormula> formula = formulaIn(columns_[index], total, value);
        if (formula) formula->column = static_cast<int>(index);
        return formula;
    };
    const auto own = static_cast<std::size_t>(column);
    std::optional<SheetFormula> formula = in(own);
    for (std::size_t i = 0; i < columns_.size() && !formula; ++i) {
        if (i != own) formula = in(i);
    }
    return formula;
}

std::optional<SheetFormula> ColumnTotals::formulaIn(const Column& column, const Calculation& total,
                                                    const SheetValue& value) {
    if (column.walk != total.walk || column.expression != total.expression) return std::nullopt;
    const auto run = std::find_if(column.runs.rbegin(), column.runs.rend(), [&](const Run& candidate) {
        return candidate.rows == total.rows && !candidate.isBroken;
    });
    if (run == column.runs.rend()) return std::nullopt;
    const auto count = static_cast<double>(run->numbers);
    const auto shows = [&](double computed) { return showsSame(computed, value.number, value.format); };
    // Some spreadsheets compensate the rounding errors of sums.
    const double corrected = run->sum + run->correction;
    bool isSame = run->numbers > 0 || total.kind == Kind::Sum || total.kind == Kind::Count;
    SheetFormula formula{SheetFormula::Function::Sum, column.runs.size() > 1, 0, run->firstRow, run->lastRow};
    switch (total.kind) {
        case Kind::Sum:
            isSame = isSame && shows(run->sum) && shows(corrected);
            break;
        case Kind::Average:
            formula.function = SheetFormula::Function::Average;
            isSame = isSame && shows(run->sum / count) && shows(corrected / count);
            break;
        case Kind::Count:
            formula.function = SheetFormula::Function::Count;
            isSame = isSame && shows(count);
            break;
        case Kind::Minimum:
            formula.function = SheetFormula::Function::Minimum;
            isSame = isSame && shows(run->least);
            break;
        case Kind::Maximum:
            formula.function = SheetFormula::Function::Maximum;
            isSame = isSame && shows(run->greatest);
            break;
        default:
            return std::nullopt;
    }
    // Anything else among the cells would be added up as well.
    if (!isSame || (run->enclosesTotals && !formula.isSubtotal)) return std::nullopt;
    return formula;
}

}  // namespace qbsvrl6

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
    const std::optional<int> places = placesOf(format);
    constexpr double kGeneralDigits = 1e-12;
    if (!places) return difference <= kGeneralDigits * std::abs(exact);
    // Some round the double itself, others its first 15 digits: at a half, the last bit decides.
    const double scale = std::pow(10.0, *places);
    const double scaled = std::abs(exact) * scale;
    const double toHalf = std::abs(scaled - std::floor(scaled) - 0.5);
    if (difference * scale >= toHalf / 2) return false;
    constexpr double kShownDigits = 1e-15;
    constexpr double kUnseen = 1e-3;  // of the last place
    return difference <= kShownDigits * std::abs(exact) || difference * scale < kUnseen;
}

// More totals than these wait for their rows only where rows are not shown.
constexpr std::size_t kMostOpen = 256;

bool isHeader(const Band& band) {
    return !band.repeated && (band.kind == BandKind::ReportHeader || band.kind == BandKind::GroupHeader);
}
bool isFooter(const Band& band) {
    return band.kind == BandKind::ReportFooter || band.kind == BandKind::GroupFooter;
}

}  // namespace

SheetValue ColumnTotals::OpenTotal::value() const {
    SheetValue value;
    value.kind = SheetValue::Kind::Number;
    value.number = number;
    value.format = format;
    return value;
}

void ColumnTotals::clear() {
    open_.clear();
    columns_.clear();
}

void ColumnTotals::add(int column, std::int64_t row, const Calculation& calculation, const Band& band,
                       SheetValue& value) {
    if (!open_.empty()) {
        const bool isBelow = isFooter(band) && calculation.isTotal();
        const auto isPassed = [&](const OpenTotal& open) {
            return calculation.walk == open.total.walk &&
                   (calculation.rows.first >= open.total.rows.end ||
                    (isBelow && calculation.rows.first <= open.total.rows.first &&
                     calculation.rows.end >= open.total.rows.end));
        };
        settle(isPassed, true);
    }
    const auto index = static_cast<std::size_t>(column);
    if (columns_.size() <= index) columns_.resize(index + 1);
    if (calculation.kind == Kind::RowValue) {
        addRowValue(columns_[index], row, calculation, value);
        lastRow_ = calculation;
        return;
    }
    if (!value.isNumber()) return;
    if (calculation.isTotal() && isHeader(band)) {
        if (open_.size() >= kMostOpen) {
            giveUp(open_.front());
            open_.erase(open_.begin());
        }
        value.laterFormula = later_.size();
        open_.push_back(
            {column, row, calculation, value.number, std::u16string(value.format), later_.size()});
        later_.emplace_back();
        return noteNumber(column, calculation.groups > 0);
    }
    if (calculation.isTotal()) value.formula = formulaOf(column, calculation, value);
    noteNumber(column, value.formula && value.formula->isSubtotal);
}

// Usually the rows of a total are complete here.
void ColumnTotals::endRow() {
    if (open_.empty()) return;
    settle(
        [&](const OpenTotal& open) {
            return lastRow_.walk == open.total.walk && lastRow_.rows.end == open.total.rows.end;
        },
        false);
}

void ColumnTotals::noteNumber(int column, bool isSubtotal) {
    for (Run& run : columns_[static_cast<std::size_t>(column)].runs)
        (isSubtotal ? run.isFollowedByTotal : run.isFollowed) = true;
}

// Inner groups first: a subtotal among the cells of another one must be a formula as well.
template <class IsComplete>
void ColumnTotals::settle(IsComplete isComplete, bool isLast) {
    for (std::size_t i = open_.size(); i-- > 0;) {
        if (!isComplete(open_[i])) continue;
        const OpenTotal open = std::move(open_[i]);
        open_.erase(open_.begin() + static_cast<std::ptrdiff_t>(i));
        later_[open.later] = formulaOf(open.column, open.total, open.value());
        if (later_[open.later]) continue;
        if (isLast) {
            giveUp(open);
        } else {
            open_.insert(open_.begin() + static_cast<std::ptrdiff_t>(i), open);
        }
    }
}

// It is a number that the formulas over cells around it would add up.
void ColumnTotals::giveUp(const OpenTotal& open) {
    for (Run& run : columns_[static_cast<std::size_t>(open.column)].runs) {
        if (run.rows.end == 0 || run.firstRow > open.row) continue;
        (run.lastRow > open.row ? run.isBroken : run.isFollowed) = true;
    }
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
    const auto in = [&](std::size_t index) { return formulaIn(static_cast<int>(index), total, value); };
    const auto own = static_cast<std::size_t>(column);
    std::optional<SheetFormula> formula = in(own);
    for (std::size_t i = 0; i < columns_.size() && !formula; ++i) {
        if (i != own) formula = in(i);
    }
    return formula;
}

std::optional<SheetFormula> ColumnTotals::formulaIn(int index, const Calculation& total,
                                                    const SheetValue& value) const {
    const Column& column = columns_[static_cast<std::size_t>(index)];
    if (column.walk != total.walk || column.expression != total.expression) return std::nullopt;
    const auto run = std::find_if(column.runs.rbegin(), column.runs.rend(), [&](const Run& candidate) {
        return candidate.rows == total.rows && !candidate.isBroken;
    });
    if (run == column.runs.rend()) return std::nullopt;
    const bool enclosesOpen = std::any_of(open_.begin(), open_.end(), [&](const OpenTotal& open) {
        return open.column == index && open.row >= run->firstRow && open.row <= run->lastRow;
    });
    if (enclosesOpen) return std::nullopt;
    const auto count = static_cast<double>(run->numbers);
    const auto shows = [&](double computed) { return showsSame(computed, value.number, value.format); };
    // Some spreadsheets compensate the rounding errors of sums.
    const double corrected = run->sum + run->correction;
    bool isSame = run->numbers > 0 || total.kind == Kind::Sum || total.kind == Kind::Count;
    SheetFormula formula{SheetFormula::Function::Sum, column.runs.size() > 1, index, run->firstRow,
                         run->lastRow};
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

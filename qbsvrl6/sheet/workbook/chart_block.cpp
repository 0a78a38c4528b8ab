#include "qbsvrl6/sheet/workbook/chart_block.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qbsvrl6 {

namespace {

// What spreadsheet programs accept.
constexpr std::size_t kMostSeries = 255;
constexpr std::size_t kMostNumbers = 32'000;  // of a series
constexpr std::size_t kMostUnits = 32'767;    // of a text

bool isCategoryPie(const ChartData& data) { return data.series.size() == 1 && data.categories.size() > 1; }

// A pie shows the categories of its only series, or else the sums of its series.
ChartBlock pieBlock(const ChartData& data) {
    ChartBlock block;
    block.series.emplace_back();
    ChartBlock::Column& values = block.columns.emplace_back();
    const auto add = [&](const std::u16string& label, double value) {
        block.categories.push_back(label);
        values.numbers.push_back(value > 0 ? value : std::numeric_limits<double>::quiet_NaN());
    };
    if (isCategoryPie(data)) {
        const ChartSeries& only = data.series.front();
        values.title = only.label;
        for (std::size_t i = 0; i < only.values.size(); ++i) {
            add(i < data.categories.size() ? data.categories[i] : std::u16string(), only.values[i]);
        }
        return block;
    }
    for (const ChartSeries& series : data.series) {
        double sum = 0;
        for (const double value : series.values) sum += std::isfinite(value) ? value : 0;
        add(series.label, sum);
    }
    return block;
}

ChartBlock pointBlock(const ChartData& data, bool haveSizes) {
    ChartBlock block;
    for (const ChartSeries& series : data.series) {
        ChartBlock::Column x{u"x", {}}, y{series.label, {}}, size{u"", {}};
        for (const ChartPoint& point : series.points) {
            if (haveSizes && !(point.size > 0)) continue;
            x.numbers.push_back(point.x);
            y.numbers.push_back(point.y);
            size.numbers.push_back(point.size);
        }
        const std::size_t first = block.columns.size();
        block.series.push_back({first + 1, first, first + 2});
        block.columns.push_back(std::move(x));
        block.columns.push_back(std::move(y));
        if (haveSizes) block.columns.push_back(std::move(size));
    }
    return block;
}

ChartBlock categoryBlock(const ChartData& data) {
    ChartBlock block;
    block.categories = data.categories;
    for (const ChartSeries& series : data.series) {
        block.series.push_back({block.columns.size()});
        block.columns.push_back({series.label, series.values});
        block.categories.resize(std::max(block.categories.size(), series.values.size()));
    }
    return block;
}

// Whole numbers with their thousands, others as they are.
std::u16string usualFormat(const ChartBlock& block) {
    double greatest = 0;
    for (const ChartBlock::Column& column : block.columns) {
        for (const double number : column.numbers) {
            if (!std::isfinite(number)) continue;
            if (number != std::trunc(number)) return u"General";
            greatest = std::max(greatest, std::abs(number));
        }
    }
    constexpr double kLeastSteps = 10;
    return greatest < kLeastSteps ? u"General" : u"#,##0";
}

SheetValue cellOf(const std::u16string& text) {
    SheetValue value;
    if (text.empty()) return value;
    value.kind = SheetValue::Kind::Text;
    value.text = std::u16string_view(text).substr(0, kMostUnits);
    return value;
}

SheetValue cellOf(double number) {
    SheetValue value;
    if (!std::isfinite(number)) return value;
    value.kind = SheetValue::Kind::Number;
    value.number = number;
    return value;
}

// Programs invent names for series without one, or show a number in its place: a space among the names.
void nameSeries(ChartBlock& block) {
    const auto isNamed = [&](const ChartBlock::Series& series) {
        return !block.columns[series.values].title.empty();
    };
    if (std::none_of(block.series.begin(), block.series.end(), isNamed)) return;
    for (const ChartBlock::Series& series : block.series) {
        if (!isNamed(series)) block.columns[series.values].title = u"\u00a0";
    }
}

// The axis of bars includes zero, from which their length counts.
void limitAxisOfBars(ChartBlock& block) {
    bool hasPositive = false, hasNegative = false;
    for (const ChartBlock::Column& column : block.columns) {
        for (const double number : column.numbers) {
            hasPositive |= number > 0;
            hasNegative |= number < 0;
        }
    }
    block.axisBeginsAtZero = hasPositive && !hasNegative;
    block.axisEndsAtZero = hasNegative && !hasPositive;
}

ChartBlock shapedBlock(const ShownChart& chart) {
    const ChartKind kind = chart.settings.kind;
    if (kind == ChartKind::Pie) return pieBlock(*chart.data);
    if (hasPoints(kind)) return pointBlock(*chart.data, kind == ChartKind::Bubble);
    return categoryBlock(*chart.data);
}

}  // namespace

std::size_t ChartBlock::rowCount() const {
    std::size_t rows = categories.size();
    for (const Column& column : columns) rows = std::max(rows, column.numbers.size());
    return rows;
}

std::vector<SheetValue> ChartBlock::row(std::size_t index) const {
    std::vector<SheetValue> cells;
    if (!categories.empty()) cells.push_back(cellOf(index == 0 ? title : categories[index - 1]));
    for (const Column& column : columns) {
        const bool isShort = index > column.numbers.size();
        cells.push_back(index == 0 ? cellOf(column.title)
                        : isShort  ? SheetValue()
                                   : cellOf(column.numbers[index - 1]));
    }
    return cells;
}

bool canBeNative(const ShownChart& chart, std::int64_t rows, std::int64_t mostRows) {
    if (chart.data == nullptr || chart.data->series.empty() || chart.data->series.size() > kMostSeries)
        return false;
    std::size_t own = chart.data->categories.size();
    for (const ChartSeries& series : chart.data->series) {
        own = std::max({own, series.values.size(), series.points.size()});
    }
    constexpr std::int64_t kTitleAndGap = 2;
    return own > 0 && own <= kMostNumbers && rows + static_cast<std::int64_t>(own) + kTitleAndGap <= mostRows;
}

ChartBlock blockOf(const ShownChart& chart) {
    ChartBlock numbers = shapedBlock(chart);
    nameSeries(numbers);
    if (chart.settings.kind == ChartKind::Bar) limitAxisOfBars(numbers);
    numbers.title = chart.settings.title;
    numbers.format = chart.spreadsheetFormat.empty() ? usualFormat(numbers) : chart.spreadsheetFormat;
    return numbers;
}

std::size_t chart_style::gapOfBars(std::size_t series) {
    constexpr std::size_t kOfOneBar = 39;
    constexpr std::size_t kWidest = 500;
    return std::min(kOfOneBar * std::max<std::size_t>(series, 1), kWidest);
}

}  // namespace qbsvrl6

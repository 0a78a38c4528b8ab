// The numbers of a chart as a block of cells, from which spreadsheet programs draw it.
#ifndef QBSVR_QBSVRL6_SHEET_WORKBOOK_CHART_BLOCK_H
#define QBSVR_QBSVRL6_SHEET_WORKBOOK_CHART_BLOCK_H

#include <cstdint>
#include <string>
#include <vector>

#include "qbsvrl6/items/item.h"
#include "qbsvrl6/sheet/workbook/sheet_value.h"

namespace qbsvrl6 {

// A row of titles, and below it one of numbers for each category or point.
struct ChartBlock {
    struct Column {
        std::u16string title;
        std::vector<double> numbers;  // those that are not finite are blank
    };
    // The columns of a series; `x` and `size` only of charts of points.
    struct Series {
        std::size_t values = 0, x = 0, size = 0;
    };

    std::u16string title;                    // of the chart
    std::vector<std::u16string> categories;  // in the first column; empty: `columns` begin there
    std::vector<Column> columns;
    std::vector<Series> series;
    std::u16string format;  // of the numbers: "General", "#,##0"
    // Of the axis of values, where programs may choose a range without zero.
    bool axisBeginsAtZero = false, axisEndsAtZero = false;

    std::size_t rowCount() const;  // without that of the titles
    // The column of the sheet.
    std::size_t sheetColumn(std::size_t column) const { return column + (categories.empty() ? 0 : 1); }
    // The cells of a row; 0: the titles.
    std::vector<SheetValue> row(std::size_t index) const;
};

// The sheet of the numbers of all charts, the last one: a block for each chart, with an empty row between two.
inline constexpr std::u16string_view kChartNumbersSheet = u"Chart numbers";

// Whether a spreadsheet program has such charts, with so many numbers, and a sheet of `rows` has room for them.
bool canBeNative(const ShownChart& chart, std::int64_t rows, std::int64_t mostRows);

ChartBlock blockOf(const ShownChart& chart);

// What native charts look like; series have the colours of drawn ones.
namespace chart_style {
inline constexpr Color kInk{64, 64, 64};
inline constexpr Color kAxisLine{120, 128, 136};
inline constexpr Color kGridLine{222, 226, 230};
inline constexpr int kTitlePoints = 11;
inline constexpr int kLabelPoints = 8;
inline constexpr Micrometres kThinLine = 150;
inline constexpr Micrometres kAxisWidth = 225;
inline constexpr Micrometres kSeriesLine = 450;
inline constexpr Micrometres kSeam = 300;  // between slices
inline constexpr double kBubbleOpacity = 0.65;
// Of the width of a bar, in percent: the bars of all series take 72 % of a category.
std::size_t gapOfBars(std::size_t series);
}  // namespace chart_style

}  // namespace qbsvrl6

#endif

// A chart's settings, its numbers, and how rows become its numbers.
#ifndef QBSVR_QBSVRL6_MODEL_CHART_H
#define QBSVR_QBSVRL6_MODEL_CHART_H

#include <string>
#include <vector>

namespace qbsvrl6 {

enum class ChartKind { Bar, Pie, Line, ScatterLine, Bubble };

// Whether the numbers are points rather than values of categories.
inline constexpr bool hasPoints(ChartKind kind) {
    return kind == ChartKind::ScatterLine || kind == ChartKind::Bubble;
}

struct ChartSettings {
    ChartKind kind = ChartKind::Bar;
    std::u16string title;  // all titles with placeholders
    std::u16string xTitle, yTitle;
    bool showLegend = true;
    bool showValues = false;
    std::u16string valueFormat;  // a number format text
};

struct ChartPoint {
    double x = 0;
    double y = 0;
    double size = 0;  // of a bubble
};

struct ChartSeries {
    std::u16string label;
    std::vector<double> values;      // one per category: bar, line, pie
    std::vector<ChartPoint> points;  // scatter and bubble
};

struct ChartData {
    std::vector<std::u16string> categories;
    std::vector<ChartSeries> series;

    bool empty() const { return categories.empty() && series.empty(); }
};

enum class ChartAggregate { Sum, Average, Count, Minimum, Maximum };

struct ChartRowSeries {
    std::u16string label;  // with placeholders: one series per text
    std::u16string value;  // an expression, aggregated over the rows of a category: bar, line, pie
    ChartAggregate aggregate = ChartAggregate::Sum;
    std::u16string x, y, size;  // expressions, one point per row: scatter and bubble
};

// How rows become numbers. Without series the chart does not read rows.
struct ChartRows {
    std::u16string table;     // name of another table of the data; empty: the rows of the chart's section
    std::u16string filter;    // an expression; rows for which it isn't true are left out; empty: all rows
    std::u16string category;  // with placeholders: one category per text
    // Terms that order the categories: totals, "Sum(Amount) desc", or expressions, by their smallest or with
    // "desc" their greatest value; empty: in order of occurrence.
    std::u16string sort;
    int top = 0;            // number of categories; 0: all
    std::u16string others;  // the name of a category of all others; empty: they are left out
    std::vector<ChartRowSeries> series;
};

}  // namespace qbsvrl6

#endif

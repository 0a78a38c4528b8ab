// A chart's settings and its numbers.
#ifndef QBSVR_QBSVRL6_MODEL_CHART_H
#define QBSVR_QBSVRL6_MODEL_CHART_H

#include <string>
#include <vector>

namespace qbsvrl6 {

enum class ChartKind { Bar, Pie, Line, ScatterLine, Bubble };

struct ChartSettings {
    ChartKind kind = ChartKind::Bar;
    std::u16string title;
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
    std::vector<double> values;      // one for each category: bar, line, pie
    std::vector<ChartPoint> points;  // scatter and bubble
};

struct ChartData {
    std::vector<std::u16string> categories;
    std::vector<ChartSeries> series;
};

}  // namespace qbsvrl6

#endif

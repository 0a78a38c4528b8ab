// What all kinds of charts are drawn with: the drawing, texts that are measured, title and legend.
#ifndef QBSVR_QBSVRL6_CHART_SKETCH_H
#define QBSVR_QBSVRL6_CHART_SKETCH_H

#include <algorithm>
#include <string>
#include <vector>

#include "qbsvrl6/bind/number_format.h"
#include "qbsvrl6/fonts/font_library.h"
#include "qbsvrl6/items/drawing.h"
#include "qbsvrl6/model/chart.h"

namespace qbsvrl6 {

// Micrometres of the chart's box.
struct Frame {
    double left = 0, top = 0, right = 0, bottom = 0;
    double width() const { return std::max(right - left, 0.0); }
    double height() const { return std::max(bottom - top, 0.0); }
};

// One chart on its way onto paper. What title, legend and axes leave of the box is the plot.
class ChartSketch {
public:
    using Anchor = Drawing::Label::Anchor;

    static constexpr Color kAxisLine{120, 128, 136};
    static constexpr double kLabelPoints = 8;
    static constexpr double kThin = 150;  // micrometres
    static constexpr double kGap = 1'500;

    ChartSketch(const ChartSettings& settings, Size box, const std::u16string& fontFamily);

    // No two of the first fifty are alike.
    static Color colorOf(std::size_t series);
    static double lineHeight(double points) { return points * kMicrometresPerPoint * 1.3; }
    // From the middle of a line of text down to its base line.
    static double halfLetter(double points) { return points * kMicrometresPerPoint * 0.35; }

    double textWidth(const std::u16string& text, double points) const;
    // The text, or as much of it as the width has room for and an ellipsis.
    std::u16string fitted(const std::u16string& text, double points, double width) const;
    // The text on one line, or broken into two, of which the second is fitted.
    std::vector<std::u16string> twoLines(const std::u16string& text, double points, double width) const;
    // By the chart's format for values.
    std::u16string number(double value);

    void add(Drawing::Path path) { drawing_.elements.emplace_back(std::move(path)); }
    void label(double x, double y, Anchor anchor, double points, std::u16string text, bool bold = false,
               double rotation = 0);
    // Both take their room from the plot.
    void paintTitle();
    void paintLegend(const std::vector<std::u16string>& labels);

    Drawing take() { return std::move(drawing_); }

    const ChartSettings& settings;
    Frame plot;
    std::size_t labelsLeftOut = 0;  // values that no label shows, for want of room

private:
    const std::u16string& fontFamily_;
    const FontSet& fonts_;
    NumberFormat format_;
    Drawing drawing_;
};

}  // namespace qbsvrl6

#endif

// A chart under construction: the common parts of bars, lines, bubbles and pies.
#ifndef QBSVR_QBSVRL6_CHART_CHART_BUILDER_H
#define QBSVR_QBSVRL6_CHART_CHART_BUILDER_H

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "qbsvrl6/chart/chart_text.h"
#include "qbsvrl6/items/drawing.h"
#include "qbsvrl6/model/chart.h"

namespace qbsvrl6 {

// A rectangle in the chart's box, in micrometres.
struct Area {
    double left = 0, top = 0, right = 0, bottom = 0;
    double width() const { return std::max(right - left, 0.0); }
    double height() const { return std::max(bottom - top, 0.0); }
};

// Collects the parts of one chart. The title and the legend reduce the plot in the order in which they are
// added; the chart itself uses the rest.
class ChartBuilder {
public:
    using Anchor = Drawing::Label::Anchor;

    // The settings and the font family must outlive the builder.
    ChartBuilder(const ChartSettings& settings, Size box, const std::u16string& fontFamily);

    const ChartSettings& settings() const { return settings_; }
    const Area& plot() const { return plot_; }
    ChartText& text() { return text_; }

    void addTitle();
    // A key and a label for each series or slice, in rows below the plot.
    void addLegend(const std::vector<std::u16string>& labels);

    void add(Drawing::Path path) { drawing_.elements.emplace_back(std::move(path)); }
    // An empty text adds nothing.
    void addLabel(double x, double y, Anchor anchor, double points, std::u16string text, bool bold = false,
                  double rotation = 0);

    // Counts value labels that had no space.
    void leaveOutLabels(std::size_t count) { labelsLeftOut_ += count; }
    std::size_t labelsLeftOut() const { return labelsLeftOut_; }

    Drawing take() { return std::move(drawing_); }

private:
    const ChartSettings& settings_;
    const std::u16string& fontFamily_;
    ChartText text_;
    Area plot_;
    std::size_t labelsLeftOut_ = 0;
    Drawing drawing_;
};

}  // namespace qbsvrl6

#endif

// The numbers at the bars, points and bubbles of a plot.
#ifndef QBSVR_QBSVRL6_CHART_VALUE_LABELS_H
#define QBSVR_QBSVRL6_CHART_VALUE_LABELS_H

#include <functional>
#include <vector>

#include "qbsvrl6/chart/plot_axes.h"

namespace qbsvrl6 {

// All labels have one size, which depends on the space for each. Labels without space are left out and
// counted.
class ValueLabels {
public:
    ValueLabels(ChartBuilder& builder, PlotAxes& axes, const ChartData& data)
        : builder_(builder), axes_(axes), data_(data) {}

    // Labels that do not fit above their bars are vertical, and take their length from the plot's height,
    // unless that is more than a third of it. Must be called before the axes are painted.
    void sizeForBars(double barWidth);
    void sizeForCategories();
    // Labels of points that would overlap are left out.
    void sizeForPoints();

    // Above the bar that ends at y, or below a negative one.
    void addToBar(double x, double y, double value);
    // Above a point, or below it if another label is there or `isTaken` returns true for the area above.
    void addToPoint(double x, double y, double radius, double value,
                    const std::function<bool(const Area&)>& isTaken = {});

private:
    double widestValue() const;
    void size(double room, double wanted);
    void add(double x, double y, double value, bool below);
    void leaveOut();

    ChartBuilder& builder_;
    PlotAxes& axes_;
    const ChartData& data_;
    double points_ = 0;           // font size; 0: no labels
    bool isVertical_ = false;     // of bars
    std::vector<Area> labelled_;  // the labels of points so far
};

}  // namespace qbsvrl6

#endif

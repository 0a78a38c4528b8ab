// The axes of a plot: what they show, the space that they need, and the positions of values between them.
#ifndef QBSVR_QBSVRL6_CHART_PLOT_AXES_H
#define QBSVR_QBSVRL6_CHART_PLOT_AXES_H

#include <cstddef>
#include <string>
#include <vector>

#include "qbsvrl6/chart/axis.h"
#include "qbsvrl6/chart/chart_builder.h"
#include "qbsvrl6/chart/chart_style.h"
#include "qbsvrl6/model/chart.h"

namespace qbsvrl6 {

// A vertical axis of values, and a horizontal one of categories or, for scatter lines and bubbles, of
// numbers.
class PlotAxes {
public:
    PlotAxes(ChartBuilder& builder, const ChartData& data);

    // Chooses the axes for the data, takes their space from the builder's plot, and draws their titles.
    void reserve();
    // Draws the lines and labels. The area must not be empty.
    void paint() const;

    // The part of the plot between the axes, after reserve().
    const Area& area() const { return area_; }
    bool hasArea() const { return area_.width() > 0 && area_.height() > 0; }
    void reserveTop(double height) { area_.top += height; }

    // At least as many as the values of any series; 0: none.
    std::size_t categoryCount() const { return categoryCount_; }
    double categoryWidth() const;
    double categoryX(std::size_t category) const;  // its middle

    // A value beyond the axis is at its end.
    double xOf(double value) const;
    double yOf(double value) const;
    // Where bars begin: zero, or the end of the axis that is nearest to it.
    double baseY() const;
    double largestRadius() const;  // of bubbles

private:
    struct Range;

    Range shownValues(const Range& range) const;
    Axis readableAxis(const Range& range, int count, bool withZero) const;
    double widestOf(const std::vector<double>& ticks) const;
    void reserveValueAxis(const Range& range);
    void reserveNumberAxis(const Range& range);
    void reserveCategoryAxis();
    void paintValueAxis() const;
    void paintNumberAxis() const;
    void paintCategoryAxis() const;
    double inset() const;

    ChartBuilder& builder_;
    const ChartSettings& settings_;
    const ChartData& data_;
    std::size_t categoryCount_ = 0;
    Area area_;
    Axis xAxis_, yAxis_;
    double categoryPoints_ = kLabelPoints;
    std::size_t firstCategory_ = 0;  // that is named
    std::size_t categoryStep_ = 1;
    std::vector<std::vector<std::u16string>> categoryLines_;  // of each categoryStep_-th category
};

}  // namespace qbsvrl6

#endif

// Charts as vector drawings: bars, lines, pies, scatter lines and bubbles, with axes, grid lines and a
// legend.
#ifndef QBSVR_QBSVRL6_CHART_CHART_H
#define QBSVR_QBSVRL6_CHART_CHART_H

#include "qbsvrl6/items/drawing.h"
#include "qbsvrl6/model/chart.h"

namespace qbsvrl6 {

// Draws the chart into a box of this size. Values that are not finite are left out; a chart without values is
// its title and, unless it is a pie, empty axes. A pie has a slice per category if it has a single series and
// several categories; otherwise it has a slice per series, with the sum of its values. Only positive values
// have a slice. `labelsLeftOut`, if not null, receives the number of value labels that had no space.
Drawing drawChart(const ChartSettings& settings, const ChartData& data, Size box,
                  const std::u16string& fontFamily, std::size_t* labelsLeftOut = nullptr);

// The number of slices or bubbles that are not drawn because they are below zero.
std::size_t countNegativeAreas(const ChartSettings& settings, const ChartData& data);

}  // namespace qbsvrl6

#endif

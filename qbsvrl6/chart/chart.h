// Charts as vector drawings: bars, lines, pies, scatter lines and bubbles, with axes, grid lines and a
// legend.
#ifndef QBSVR_QBSVRL6_CHART_CHART_H
#define QBSVR_QBSVRL6_CHART_CHART_H

#include "qbsvrl6/items/drawing.h"
#include "qbsvrl6/model/chart.h"

namespace qbsvrl6 {

// Draws the chart into a box of this size. Values that aren't finite are left out; a chart without any value
// is its title and an empty frame. A pie shows the categories of its first series, or, where there is one
// category or none, one slice a series; negative values have no slice.
// `labelsLeftOut`, if given, becomes the number of values that should have a label and have no room for it.
Drawing drawChart(const ChartSettings& settings, const ChartData& data, Size box,
                  const std::u16string& fontFamily, std::size_t* labelsLeftOut = nullptr);

}  // namespace qbsvrl6

#endif

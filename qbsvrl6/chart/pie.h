// The pie of a chart.
#ifndef QBSVR_QBSVRL6_CHART_PIE_H
#define QBSVR_QBSVRL6_CHART_PIE_H

#include "qbsvrl6/chart/chart_builder.h"

namespace qbsvrl6 {

// Draws legend, slices and their labels into the plot.
void paintPie(ChartBuilder& builder, const ChartData& data);

// The number of slices below zero, which are not drawn.
std::size_t countNegativeSlices(const ChartData& data);

}  // namespace qbsvrl6

#endif

// The pie of a chart.
#ifndef QBSVR_QBSVRL6_CHART_PIE_H
#define QBSVR_QBSVRL6_CHART_PIE_H

#include "qbsvrl6/chart/sketch.h"

namespace qbsvrl6 {

// Draws legend, slices and their labels into the plot.
void paintPie(ChartSketch& sketch, const ChartData& data);

}  // namespace qbsvrl6

#endif

// Reads chart data from the XML text that a program passes. docs/chart-data.md describes the forms.
#ifndef QBSVR_QBSVRL6_API_CHART_DATA_H
#define QBSVR_QBSVRL6_API_CHART_DATA_H

#include <string_view>

#include "qbsvrl6/model/chart.h"

namespace qbsvrl6 {

// The parts of a chart that new data replaces. If the series are not replaced, the values fill the existing
// ones in order, and values of further series are ignored.
struct ChartDataUse {
    bool series = true;      // their number
    bool labels = true;      // their labels
    bool categories = true;  // the names of the categories
};

// Rows of category, series and value for bars, pies and lines. Raises EngineError for text that isn't XML,
// has no table, or exceeds a limit.
void readChartValues(std::u16string_view xml, const ChartDataUse& use, ChartData& data);

// Rows of series, x and y; with `sizes`, also of the size of a bubble.
void readChartPoints(std::u16string_view xml, bool sizes, bool replaceLabels, ChartData& data);

}  // namespace qbsvrl6

#endif

// Charts as texts, for readers who do not see them.
#ifndef QBSVR_QBSVRL6_CHART_DESCRIPTION_H
#define QBSVR_QBSVRL6_CHART_DESCRIPTION_H

#include <string>

#include "qbsvrl6/model/chart.h"

namespace qbsvrl6 {

// The title, and the numbers of each series: "Sales. North: Jan 12, Feb 9. South: Jan 7". It has no words of
// its own, and ends with an ellipsis after the first few hundred numbers.
std::u16string describeChart(const ChartSettings& settings, const ChartData& data);

}  // namespace qbsvrl6

#endif

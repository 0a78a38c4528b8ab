// Sizes, distances and the colour of axes that all charts share. Lengths are micrometres.
#ifndef QBSVR_QBSVRL6_CHART_CHART_STYLE_H
#define QBSVR_QBSVRL6_CHART_CHART_STYLE_H

#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

inline constexpr Color kAxisLine{120, 128, 136};
inline constexpr double kLabelPoints = 8;  // font size of labels and legends
inline constexpr double kThin = 150;       // a thin line
inline constexpr double kGap = 1'500;      // between parts of a chart

}  // namespace qbsvrl6

#endif

// The colours of the series of a chart, which drawings and the native charts of workbooks share.
#ifndef QBSVR_QBSVRL6_DRAWING_SERIES_COLORS_H
#define QBSVR_QBSVRL6_DRAWING_SERIES_COLORS_H

#include <cstddef>

#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

// The colour of a series or slice. The first fifty are distinct; further ones repeat.
Color seriesColor(std::size_t series);

}  // namespace qbsvrl6

#endif

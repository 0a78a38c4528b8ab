// Round numbers along an axis.
#ifndef QBSVR_QBSVRL6_CHART_AXIS_H
#define QBSVR_QBSVRL6_CHART_AXIS_H

#include <vector>

namespace qbsvrl6 {

// The range of an axis and the numbers along it: multiples of 1, 2 or 5 times a power of ten.
struct Axis {
    double low = 0;
    double high = 1;
    std::vector<double> ticks;

    // The position of a value between low (0) and high (1).
    double position(double value) const { return (value - low) / (high - low); }
};

// An axis for values from `low` to `high` with about `count` ticks; `withZero` includes zero. Both ends are
// ticks. An empty range is widened.
Axis makeAxis(double low, double high, int count, bool withZero);

}  // namespace qbsvrl6

#endif

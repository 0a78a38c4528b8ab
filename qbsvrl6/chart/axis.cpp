#include "qbsvrl6/chart/axis.h"

#include <algorithm>
#include <cmath>

namespace qbsvrl6 {

namespace {

// Beyond this, the arithmetic of the ticks would overflow.
constexpr double kLargest = 1e300;

double roundStep(double raw) {
    const double power = std::pow(10.0, std::floor(std::log10(raw)));
    const double part = raw / power;
    return power * (part <= 1.0001 ? 1 : part <= 2.0001 ? 2 : part <= 5.0001 ? 5 : 10);
}

}  // namespace

Axis makeAxis(double low, double high, int count, bool withZero) {
    low = std::clamp(low, -kLargest, kLargest);
    high = std::clamp(high, -kLargest, kLargest);
    if (withZero) {
        low = std::min(low, 0.0);
        high = std::max(high, 0.0);
    }
    const double least = std::max({std::abs(low), std::abs(high), 1e-300}) * 1e-9;
    if (high - low <= least) {
        const double room = low == 0 && high == 0 ? 1.0 : std::max(std::abs(high) * 0.1, least);
        if (!withZero) low -= room;
        high += room;
    }
    const double step = roundStep((high - low) / std::max(count, 1));
    Axis axis;
    axis.low = std::floor(low / step + 1e-9) * step;
    axis.high = std::ceil(high / step - 1e-9) * step;
    const int steps = static_cast<int>(std::lround((axis.high - axis.low) / step));
    for (int i = 0; i <= steps; ++i) {
        const double tick = axis.low + i * step;
        axis.ticks.push_back(std::abs(tick) < step * 1e-9 ? 0 : tick);
    }
    return axis;
}

}  // namespace qbsvrl6

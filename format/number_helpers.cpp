#include "format/number_helpers.h"

#include <cmath>

namespace larkspur {

namespace {

// From this value on, a double has no fraction.
constexpr double kNoFraction = 4503599627370496.0;

double FloorKeepingSign(double value) {
    return std::abs(value) < kNoFraction ? std::copysign(std::floor(value), value) : value;
}

}  // namespace

double round45(double value, int digits) {
    const double power = std::pow(10.0, digits);
    return FloorKeepingSign(value * power + 0.5) / power;
}

double round465(double value, int digits) {
    const double power = std::pow(10.0, digits);
    double integer = 0;
    const double fraction = std::modf(power * value, &integer);
    // A negative value has a negative fraction and is therefore always cut, as is not-a-number.
    const int hundredths = fraction > 0 ? static_cast<int>(fraction * 100.0) : 0;
    if (hundredths > 50) return (1.0 + integer) / power;
    if (hundredths == 50) {
        const double lastDigit = integer - FloorKeepingSign(integer / 10.0) * 10.0;
        if (static_cast<long long>(lastDigit) % 2 != 0) return (integer + 1.0) / power;
    }
    return integer / power;
}

lkstr FormatNumberToEnglish(double, int) { return lkstr(); }
}  // namespace larkspur

#include "format/number_helpers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>

#include "common/string_ops.h"

namespace larkspur {

namespace {

// From here up a double has no fraction.
constexpr double kNoFraction = 4503599627370496.0;

double FloorKeepingSign(double value) {
    return std::abs(value) < kNoFraction ? std::copysign(std::floor(value), value) : value;
}

str PrintFixed(double value, int digits) {
    char text[336];  // the largest double has 309 digits ahead of the point
    const auto printed =
        std::to_chars(text, std::end(text), value, std::chars_format::fixed, std::clamp(digits, 0, 9));
    return str(text, printed.ptr);
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
    // A negative value has a negative fraction and so is always cut; not-a-number goes the same way.
    const int hundredths = fraction > 0 ? static_cast<int>(fraction * 100.0) : 0;
    if (hundredths > 50) return (1.0 + integer) / power;
    if (hundredths == 50) {
        const double lastDigit = integer - FloorKeepingSign(integer / 10.0) * 10.0;
        if (static_cast<long long>(lastDigit) % 2 != 0) return (integer + 1.0) / power;
    }
    return integer / power;
}

lkstr FormatNumberFixed(double value, int digits) {
    return lkstr_fromascii(PrintFixed(value, digits).c_str());
}

lkstr FormatNumberFixed2(double value, int digits) {
    str text = PrintFixed(value, digits);
    text.erase(text.find_last_not_of('0') + 1);
    if (!text.empty() && text.back() == '.') text.pop_back();
    return lkstr_fromascii(text.c_str());
}

lkstr FormatNumberToEnglish(double, int) { return lkstr(); }

lkstr FormatIntegerFixed(int value, int width) {
    const lkstr digits = lkstr_fromi(value);
    const auto size = static_cast<std::size_t>(std::max(width, 0));
    if (size <= digits.size()) return digits.substr(digits.size() - size);
    return lkstr(size - digits.size(), u'0') + digits;
}

lkstr FormatIntegerHexFixed(unsigned int value, int width) {
    lkstr result(static_cast<std::size_t>(std::max(width, 0)), u'0');
    for (std::size_t end = result.size(); value != 0 && end > 0; value >>= 8) {
        lkchar high = 0;
        ByteToHex(static_cast<unsigned char>(value), high, result[--end]);
        if (end > 0) result[--end] = high;
    }
    return result;
}

}  // namespace larkspur

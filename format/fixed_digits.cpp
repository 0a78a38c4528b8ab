#include "format/fixed_digits.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>

namespace larkspur {

namespace {

// Each is exact: 5^17 fits a double's 53 bits.
constexpr double kPowersOfTen[] = {1e0, 1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,
                                   1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17};
static_assert(std::size(kPowersOfTen) == FixedDigits::kMaxDecimals + 1);

// Below this a double has a bit for the half.
constexpr double kScaledLimit = 4503599627370496.0;  // 2^52

// The integer nearest to the exact value * power, ties to even. The product must lie below kScaledLimit.
unsigned long long scale(double value, double power) {
    const double product = value * power;
    auto integer = static_cast<unsigned long long>(product);
    const double fraction = product - static_cast<double>(integer);
    if (fraction < 0.5) return integer;
    if (fraction > 0.5) return integer + 1;
    // The rounded product is a tie. The exact one is value * power = product + rest, and the sign of the rest
    // tells on which side of the tie it lies.
    const double rest = std::fma(value, power, -product);
    if (rest > 0.0 || (rest == 0.0 && integer % 2 == 1)) ++integer;
    return integer;
}

}  // namespace

FixedDigits::FixedDigits(double value, int decimals) {
    decimals = std::clamp(decimals, 0, kMaxDecimals);
    const double magnitude = std::fabs(value);
    const double power = kPowersOfTen[decimals];
    m_IsNegative = std::signbit(value);
    if (magnitude != 0.0 && magnitude * power < kScaledLimit) {
        SetScaled(scale(magnitude, power), decimals);
    } else if (std::isfinite(value)) {
        SetExact(magnitude, decimals);
    } else {
        const char* name = std::isnan(value) ? "-nan" : "-inf";
        m_Digits = m_IsNegative ? name : name + 1;
        m_PointPosition = 0;
        m_IsNegative = false;
    }
}

void FixedDigits::SetScaled(unsigned long long scaled, int decimals) {
    char* const end = std::end(m_Buffer);
    char* begin = end;
    for (; scaled != 0; scaled /= 10) *--begin = static_cast<char>('0' + scaled % 10);
    if (begin == end && decimals == 0) *--begin = '0';
    m_Digits = std::string_view(begin, static_cast<std::size_t>(end - begin));
    m_PointPosition = static_cast<int>(end - begin) - decimals;
}

void FixedDigits::SetExact(double magnitude, int decimals) {
    char* const end =
        std::to_chars(m_Buffer, std::end(m_Buffer), magnitude, std::chars_format::fixed, decimals).ptr;
    char* begin = m_Buffer;
    char* const point = std::find(begin, end, '.');
    m_PointPosition = static_cast<int>(point - begin);
    char* digitsEnd = end;
    if (point != end) digitsEnd = std::copy(point + 1, end, point);
    if (magnitude != 0.0 && magnitude < 1.0 && decimals > 0 && *begin == '0') {
        char* const firstDigit = std::find_if(begin, digitsEnd, [](char digit) { return digit != '0'; });
        m_PointPosition -= static_cast<int>(firstDigit - begin);
        begin = firstDigit;
    }
    m_Digits = std::string_view(begin, static_cast<std::size_t>(digitsEnd - begin));
}

}  // namespace larkspur

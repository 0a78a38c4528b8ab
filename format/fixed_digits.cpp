#include "format/internal/fixed_digits.h"

#include <algorithm>
#include <array>
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

// Below this, a double has a bit for halves; from this on, it has no fraction.
constexpr double kScaledLimit = 4503599627370496.0;  // 2^52

// The integer nearest to the exact value * power, ties to even. The product must lie below kScaledLimit.
std::int64_t NearestInteger(double value, double power) {
    const double product = value * power;
    double nearest = product + kScaledLimit - kScaledLimit;
    if (std::fabs(product - nearest) == 0.5) {
        // The rounded product is a tie. The exact product is product + rest, so the sign of `rest` decides on
        // which side of the tie it is.
        const double rest = std::fma(value, power, -product);
        if (rest > 0.0) nearest = product + 0.5;
        if (rest < 0.0) nearest = product - 0.5;
    }
    return static_cast<std::int64_t>(nearest);
}

// "00" to "99".
constexpr auto kDigitPairs = [] {
    std::array<char, 200> pairs{};
    for (std::size_t i = 0; i < 100; ++i) {
        pairs[2 * i] = static_cast<char>('0' + i / 10);
        pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return pairs;
}();

}  // namespace

double FixedDigits::AwayFromTies(double value, int decimals) {
    if (decimals > 10 || value == 0.0) return value;
    return value + std::copysign(decimals <= 3 ? 1e-09 : 1e-11, value);
}

bool FixedDigits::Scale(double magnitude, int decimals, std::uint64_t& scaled) {
    const double power = kPowersOfTen[decimals];
    if (magnitude == 0.0 || !(magnitude * power < kScaledLimit)) return false;
    scaled = static_cast<std::uint64_t>(NearestInteger(magnitude, power));
    return true;
}

FixedDigits::FixedDigits(double value, int decimals) {
    decimals = std::clamp(decimals, 0, kMaxDecimals);
    const double magnitude = std::fabs(value);
    m_IsNegative = std::signbit(value);
    if (std::uint64_t scaled; Scale(magnitude, decimals, scaled)) {
        SetScaled(scaled, decimals);
    } else if (std::isfinite(value)) {
        SetExact(magnitude, decimals);
    } else {
        const char* name = std::isnan(value) ? "-nan" : "-inf";
        m_Digits = m_IsNegative ? name : name + 1;
        m_PointPosition = 0;
        m_IsNegative = false;
    }
}

void FixedDigits::SetScaled(std::uint64_t scaled, int decimals) {
    char* const end = std::end(m_Buffer);
    char* begin = end;
    for (; scaled >= 10; scaled /= 100) {
        begin -= 2;
        std::memcpy(begin, &kDigitPairs[2 * (scaled % 100)], 2);
    }
    if (scaled != 0) *--begin = static_cast<char>('0' + scaled);
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
    if (magnitude != 0.0 && magnitude < 1.0 && *begin == '0') {
        char* const firstDigit = std::find_if(begin, digitsEnd, [](char digit) { return digit != '0'; });
        m_PointPosition -= static_cast<int>(firstDigit - begin);
        begin = firstDigit;
    }
    m_Digits = std::string_view(begin, static_cast<std::size_t>(digitsEnd - begin));
}

}  // namespace larkspur

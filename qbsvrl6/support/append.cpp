#include "qbsvrl6/support/append.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>

#include "qbsvrl6/support/ascii.h"

namespace qbsvrl6 {

void appendNumber(std::string& out, double number, int decimals) {
    constexpr double kLargest = 1e9;
    const double clamped = std::isnan(number) ? 0 : std::clamp(number, -kLargest, kLargest);
    std::int64_t scale = 1;
    for (int i = 0; i < decimals; ++i) scale *= 10;
    const std::int64_t scaled = std::llround(clamped * static_cast<double>(scale));
    std::array<char, 32> digits;
    char* end = digits.data();
    if (scaled < 0) *end++ = '-';
    const std::int64_t magnitude = std::abs(scaled);
    end = std::to_chars(end, digits.data() + digits.size(), magnitude / scale).ptr;
    if (magnitude % scale != 0) *end++ = '.';
    for (std::int64_t rest = magnitude % scale; rest != 0; rest %= scale) {
        scale /= 10;
        *end++ = static_cast<char>('0' + rest / scale);
    }
    out.append(digits.data(), end);
}

void appendColor(std::string& out, const Color& color) {
    out += '#';
    for (const std::uint8_t part : {color.red, color.green, color.blue}) {
        out += kHexDigits[part >> 4];
        out += kHexDigits[part & 0xF];
    }
}

}  // namespace qbsvrl6

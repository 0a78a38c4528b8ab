// Lengths and colours, for all folders of the engine.
#ifndef QBSVR_QBSVRL6_SUPPORT_UNITS_H
#define QBSVR_QBSVRL6_SUPPORT_UNITS_H

#include <cstdint>

namespace qbsvrl6 {

// A length on paper in whole micrometres, so that edges meant to be equal are equal. y grows downwards.
using Micrometres = std::int32_t;

inline constexpr double kMicrometresPerPoint = 25400.0 / 72.0;
inline constexpr Micrometres kMicrometresPerMillimetre = 1000;

struct Size {
    Micrometres width = 0;
    Micrometres height = 0;
    bool operator==(const Size&) const = default;
};

struct Rect {
    Micrometres x = 0;
    Micrometres y = 0;
    Micrometres width = 0;
    Micrometres height = 0;
    Micrometres right() const { return x + width; }
    Micrometres bottom() const { return y + height; }
    bool operator==(const Rect&) const = default;
};

struct Edges {
    Micrometres left = 0;
    Micrometres top = 0;
    Micrometres right = 0;
    Micrometres bottom = 0;
    bool operator==(const Edges&) const = default;
};

struct Color {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    bool operator==(const Color&) const = default;
};

}  // namespace qbsvrl6

#endif

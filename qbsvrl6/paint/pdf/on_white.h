// Colours of documents without transparency.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_ON_WHITE_H
#define QBSVR_QBSVRL6_PAINT_PDF_ON_WHITE_H

#include <cstdint>

#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

// A part of a colour with this opacity (255: opaque) on white.
inline std::uint8_t onWhite(std::uint8_t part, int opacity) {
    return static_cast<std::uint8_t>((part * opacity + 255 * (255 - opacity) + 127) / 255);
}

inline Color onWhite(Color color, int opacity) {
    return {onWhite(color.red, opacity), onWhite(color.green, opacity), onWhite(color.blue, opacity)};
}

}  // namespace qbsvrl6

#endif

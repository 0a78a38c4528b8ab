// Values in the syntax of PDF.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_PDF_SYNTAX_H
#define QBSVR_QBSVRL6_PAINT_PDF_PDF_SYNTAX_H

#include <cstdint>
#include <string>
#include <string_view>

#include "qbsvrl6/paint/pdf/byte_buffer.h"
#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

// The unit of content streams is a hundredth of a point, so that nearly all their numbers are short and
// whole.
inline constexpr double kUnitsPerPoint = 100;
inline constexpr double kUnitsPerMicrometre = kUnitsPerPoint / kMicrometresPerPoint;

// Rounds to the nearest unit. Lengths beyond any page become 0: a drawing may contain invalid numbers.
inline std::int64_t toUnits(double micrometres) {
    constexpr double kFarthest = 2.5e9;  // readers have integers of 32 bits
    if (!(micrometres > -kFarthest && micrometres < kFarthest)) return 0;
    const double units = micrometres * kUnitsPerMicrometre;
    return static_cast<std::int64_t>(units < 0 ? units - 0.5 : units + 0.5);
}

// A number with up to `decimals` digits after the point (at most 6), without trailing zeros.
void appendNumber(ByteBuffer& out, double value, int decimals);

// Points with two decimals, as in page dictionaries.
void appendPoints(ByteBuffer& out, double micrometres);

// "r g b rg" or "g g": the operator is in lower case for filling and in capitals for stroking.
void appendFillColor(ByteBuffer& out, Color color);
void appendStrokeColor(ByteBuffer& out, Color color);

// A text string: ASCII unchanged, other text as UTF-16.
void appendTextString(ByteBuffer& out, std::u16string_view text);

// A string of bytes.
void appendByteString(ByteBuffer& out, std::string_view bytes);

// A name without the characters that names can't hold.
std::string toName(std::string_view text);

// Big-endian UTF-16 in hexadecimal digits; lone surrogates become U+FFFD.
void appendUtf16Hex(ByteBuffer& out, std::u16string_view text);

void appendHex(ByteBuffer& out, unsigned value, int digits);

}  // namespace qbsvrl6

#endif

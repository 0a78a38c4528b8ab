#include "qbsvrl6/paint/pdf/pdf_syntax.h"

#include <algorithm>
#include <cmath>

#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

void appendColor(ByteBuffer& out, Color color, std::string_view grey, std::string_view rgb) {
    constexpr int kDecimals = 3;
    const auto part = [&](std::uint8_t value) {
        appendNumber(out, value / 255.0, kDecimals);
        out.append(' ');
    };
    part(color.red);
    if (color.red == color.green && color.green == color.blue) {
        out.append(grey);
        return;
    }
    part(color.green);
    part(color.blue);
    out.append(rgb);
}

}  // namespace

void appendNumber(ByteBuffer& out, double value, int decimals) {
    constexpr double kLargest = 1e12;
    if (!(value > -kLargest && value < kLargest)) value = 0;
    std::int64_t scale = 1;
    for (int i = 0; i < decimals; ++i) scale *= 10;
    std::int64_t scaled = std::llround(value * static_cast<double>(scale));
    if (scaled < 0) {
        out.append('-');
        scaled = -scaled;
    }
    const std::int64_t whole = scaled / scale;
    std::int64_t rest = scaled % scale;
    if (whole != 0 || rest == 0) out.append(whole);
    if (rest == 0) return;
    out.append('.');
    while (rest != 0) {
        scale /= 10;
        out.append(static_cast<char>('0' + rest / scale));
        rest %= scale;
    }
}

void appendPoints(ByteBuffer& out, double micrometres) {
    appendNumber(out, micrometres / kMicrometresPerPoint, 2);
}

void appendFillColor(ByteBuffer& out, Color color) { appendColor(out, color, "g\n", "rg\n"); }

void appendStrokeColor(ByteBuffer& out, Color color) { appendColor(out, color, "G\n", "RG\n"); }

void appendTextString(ByteBuffer& out, std::u16string_view text) {
    const bool ascii =
        std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit >= u' ' && unit < 0x7F; });
    if (ascii) {
        appendByteString(out, std::string(text.begin(), text.end()));
        return;
    }
    out.append(std::string_view("<FEFF"));
    appendUtf16Hex(out, text);
    out.append('>');
}

void appendUtf16Hex(ByteBuffer& out, std::u16string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const char32_t character = nextCharacter(text, i);
        if (character < 0x10000) {
            appendHex(out, character, 4);
        } else {
            appendHex(out, 0xD800 + ((character - 0x10000) >> 10), 4);
            appendHex(out, 0xDC00 + ((character - 0x10000) & 0x3FF), 4);
        }
    }
}

void appendByteString(ByteBuffer& out, std::string_view bytes) {
    out.append('(');
    for (const char c : bytes) {
        if (c == '(' || c == ')' || c == '\\') out.append('\\');
        if (c == '\r') {
            out.append(std::string_view("\\r"));
        } else {
            out.append(c);
        }
    }
    out.append(')');
}

std::string toName(std::string_view text) {
    std::string name;
    for (const char c : text) {
        const bool plain = isLatinLetter(c) || isDigit(c) || c == '-' || c == '_' || c == '.';
        if (plain) name += c;
    }
    return name.empty() ? "Font" : name;
}

void appendHex(ByteBuffer& out, unsigned value, int digits) {
    while (digits-- > 0) out.append(kUpperHexDigits[(value >> (4 * digits)) & 0xF]);
}

}  // namespace qbsvrl6

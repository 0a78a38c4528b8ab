#include "qbsvrl6/sheet/text/css.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "common/base64.h"
#include "qbsvrl6/fonts/aliases.h"
#include "qbsvrl6/sheet/escape.h"
#include "qbsvrl6/support/append.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

void appendLine(std::string& out, const char* side, const BorderLine& line) {
    if (line.width <= 0) return;
    out += "border-";
    out += side;
    out += ':';
    appendMillimetres(out, line.width);
    out += " solid ";
    appendColor(out, line.color);
    out += ';';
}

}  // namespace

double inMillimetres(Micrometres length) { return std::round(length / 10.0) / 100.0; }

void appendMillimetres(std::string& out, Micrometres length) {
    appendNumber(out, inMillimetres(length), kCssDecimals);
    out += "mm";
}

void appendCssText(std::string& out, std::u16string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        std::array<char, 8> digits;
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(),
                                       static_cast<std::uint32_t>(nextCharacter(text, i)), 16);
        out += '\\';
        out.append(digits.data(), end.ptr);
        out += ' ';
    }
}

void appendFontFamily(std::string& out, std::u16string_view family) {
    std::u16string name;
    for (const char16_t c : family) {
        const bool isPlain =
            isDigit(c) || isLatinLetter(c) || c == u' ' || c == u'-' || c == u'_' || c >= 0xA0;
        if (isPlain) name += c;
    }
    if (!name.empty()) {
        out += '\'';
        appendMarkup(out, name);
        out += "',";
    }
    out += genericFamily(familyKind(foldFamily(family)));
}

void appendDataAddress(std::string& out, const Picture& picture) {
    out += picture.encoding == Picture::Encoding::Jpeg ? "data:image/jpeg;base64," : "data:image/png;base64,";
    out += larkspur::Base64_Encode(picture.bytes.data(), static_cast<int>(picture.bytes.size()));
}

void appendDeclarations(std::string& out, const CellStyle& style) {
    constexpr std::array kAligns = {"left", "center", "right", "justify"};
    constexpr std::array kVerticals = {"top", "middle", "bottom"};
    out += "font:";
    if (style.italic) out += "italic ";
    if (style.bold) out += "bold ";
    // --text lets the style sheet shrink all texts of a part of the page.
    out += "calc(var(--text)*";
    appendNumber(out, style.fontSize, kCssDecimals);
    out += "pt)/";
    appendNumber(out, 1.2 * style.lineSpacing, kCssDecimals);
    out += ' ';
    appendFontFamily(out, style.fontFamily);
    out += ";color:";
    appendColor(out, style.color);
    out += ";text-align:";
    out += kAligns[static_cast<std::size_t>(style.align)];
    out += ";vertical-align:";
    out += kVerticals[static_cast<std::size_t>(style.verticalAlign)];
    out += ";padding:";
    for (const Micrometres side :
         {style.padding.top, style.padding.right, style.padding.bottom, style.padding.left}) {
        appendMillimetres(out, std::max(side, 0));
        out += ' ';
    }
    out += ';';
    if (style.underline) out += "text-decoration:underline;";
    if (style.background) {
        out += "background:";
        appendColor(out, *style.background);
        out += ';';
    }
    appendLine(out, "left", style.border.left);
    appendLine(out, "top", style.border.top);
    appendLine(out, "right", style.border.right);
    appendLine(out, "bottom", style.border.bottom);
}

}  // namespace qbsvrl6

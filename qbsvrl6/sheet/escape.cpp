#include "qbsvrl6/sheet/escape.h"

#include <algorithm>
#include <array>

#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/character_forms.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

constexpr CharacterForms kPlain;

constexpr CharacterForms kPrintable = CharacterForms().setControls(" ");

constexpr CharacterForms kMarkup = CharacterForms()
                                       .setControls(kReplacementCharacter)
                                       .keep("\t\n")
                                       .joinLineEnds()
                                       .set('&', "&amp;")
                                       .set('<', "&lt;")
                                       .set('>', "&gt;")
                                       .set('"', "&quot;");

constexpr std::array<std::string_view, 32> kControlForms = {
    "_x0000_", "_x0001_", "_x0002_", "_x0003_", "_x0004_", "_x0005_", "_x0006_", "_x0007_",
    "_x0008_", "_x0009_", "_x000A_", "_x000B_", "_x000C_", "_x000D_", "_x000E_", "_x000F_",
    "_x0010_", "_x0011_", "_x0012_", "_x0013_", "_x0014_", "_x0015_", "_x0016_", "_x0017_",
    "_x0018_", "_x0019_", "_x001A_", "_x001B_", "_x001C_", "_x001D_", "_x001E_", "_x001F_"};

constexpr CharacterForms kXstring = [] {
    CharacterForms forms = kMarkup;
    for (char c = 0; c < 0x20; ++c) forms.set(c, kControlForms[static_cast<std::size_t>(c)]);
    return forms.keep("\t\n\x7F").joinLineEnds();
}();

// Whether the text at `index` has the form "_x0041_".
bool isEscapeForm(std::u16string_view text, std::size_t index) {
    if (text.size() - index < 7 || text[index + 1] != u'x' || text[index + 6] != u'_') return false;
    const std::u16string_view digits = text.substr(index + 2, 4);
    return std::all_of(digits.begin(), digits.end(), [](char16_t unit) { return hexValue(unit) >= 0; });
}

}  // namespace

void appendUtf8(std::string& out, std::u16string_view text) { appendForms(out, text, kPlain); }

void appendPrintable(std::string& out, std::u16string_view text) { appendForms(out, text, kPrintable); }

void appendMarkup(std::string& out, std::u16string_view text) { appendForms(out, text, kMarkup); }

void appendXstring(std::string& out, std::u16string_view text) {
    std::size_t from = 0;
    for (std::size_t at = text.find(u'_'); at != std::u16string_view::npos; at = text.find(u'_', at + 1)) {
        if (!isEscapeForm(text, at)) continue;
        appendForms(out, text.substr(from, at - from), kXstring);
        out += "_x005F_";
        from = at + 1;
    }
    appendForms(out, text.substr(from), kXstring);
}

std::u16string_view cleanText(std::u16string_view text, std::u16string& buffer) {
    const auto isSuspect = [](char16_t unit) {
        return unit == u'\r' || (unit & 0xF800) == 0xD800 || unit >= 0xFFFE;
    };
    if (std::none_of(text.begin(), text.end(), isSuspect)) return text;
    buffer.clear();
    for (std::size_t i = 0; i < text.size();) {
        const char32_t c = nextCharacter(text, i);
        if (c == '\r') {
            if (i == text.size() || text[i] != u'\n') buffer += u'\n';
        } else {
            appendCharacter(buffer, c == 0xFFFE || c == 0xFFFF ? 0xFFFD : c);
        }
    }
    return buffer;
}

}  // namespace qbsvrl6

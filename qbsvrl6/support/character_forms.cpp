#include "qbsvrl6/support/character_forms.h"

#include <algorithm>
#include <cstring>

#include "qbsvrl6/support/put_utf8.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

bool isNoncharacter(char32_t c) { return c == 0xFFFE || c == 0xFFFF; }

// Whether the unit is a character by itself, and no noncharacter.
bool standsAlone(char16_t unit) { return unit < 0xD800 || (unit > 0xDFFF && unit < 0xFFFE); }

}  // namespace

// Writes blocks through a buffer of fixed size.
std::size_t appendPlain(std::string& out, std::u16string_view text, const CharacterForms& forms) {
    constexpr std::ptrdiff_t kUnits = 256;
    std::array<char, 3 * kUnits + 1> buffer;  // the last unit may begin a character of four bytes
    const char16_t* at = text.data();
    const char16_t* const end = at + text.size();
    bool isPlain = true;
    while (isPlain && at < end) {
        const char16_t* const blockEnd = end - at > kUnits ? at + kUnits : end;
        char* to = buffer.data();
        while (at < blockEnd) {
            const char16_t unit = *at;
            if (unit < 0x80) {
                isPlain = forms.isPlain(unit);
                if (!isPlain) break;
                *to++ = static_cast<char>(unit);
                ++at;
            } else if (standsAlone(unit)) {
                to += putUtf8(to, unit);
                ++at;
            } else {
                std::size_t length = 0;
                const char32_t c = nextCharacter({at, end}, length);
                to += putUtf8(to, isNoncharacter(c) ? 0xFFFD : c);
                at += length;
            }
        }
        out.append(buffer.data(), static_cast<std::size_t>(to - buffer.data()));
    }
    return static_cast<std::size_t>(at - text.data());
}

void appendForms(std::string& out, std::u16string_view text, const CharacterForms& forms) {
    for (;;) {
        text.remove_prefix(appendPlain(out, text, forms));
        if (text.empty()) return;
        const bool isJoined = forms.joinsLineEnds() && text.starts_with(u"\r\n");
        if (!isJoined) out += forms.formOf(text.front());
        text.remove_prefix(1);
    }
}

void appendForms(std::string& out, std::string_view text, const CharacterForms& forms) {
    constexpr std::string_view kFFFE = "\xEF\xBF\xBE";
    constexpr std::string_view kFFFF = "\xEF\xBF\xBF";
    std::size_t from = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto unit = static_cast<unsigned char>(text[i]);
        const bool isAscii = unit < 0x80;
        if (isAscii && forms.isPlain(unit)) continue;
        const std::string_view rest = text.substr(i, 3);
        if (!isAscii && rest != kFFFE && rest != kFFFF) continue;
        out += text.substr(from, i - from);
        from = i + (isAscii ? 1 : 3);
        const bool isJoined = forms.joinsLineEnds() && text.substr(i, 2) == "\r\n";
        if (!isJoined) out += isAscii ? forms.formOf(unit) : kReplacementCharacter;
    }
    out += text.substr(from);
}

}  // namespace qbsvrl6

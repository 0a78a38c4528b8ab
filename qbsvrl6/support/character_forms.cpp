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
void appendForms(std::string& out, std::u16string_view text, const CharacterForms& forms) {
    std::array<char, 512> buffer;
    std::size_t used = 0;
    std::size_t i = 0;
    while (i < text.size()) {
        if (used > buffer.size() - CharacterForms::kLongestForm) {
            out.append(buffer.data(), used);
            used = 0;
        }
        const std::size_t runEnd = std::min(text.size(), i + buffer.size() - used);
        while (i < runEnd && text[i] < 0x80 && forms.isPlain(text[i])) {
            buffer[used++] = static_cast<char>(text[i++]);
        }
        if (i == runEnd || used > buffer.size() - CharacterForms::kLongestForm) continue;
        const char16_t unit = text[i];
        if (unit >= 0x80 && standsAlone(unit)) {
            used += putUtf8(&buffer[used], unit);
            ++i;
            continue;
        }
        if (unit >= 0x80) {
            const char32_t c = nextCharacter(text, i);
            used += putUtf8(&buffer[used], isNoncharacter(c) ? 0xFFFD : c);
            continue;
        }
        ++i;
        if (forms.joinsLineEnds() && unit == u'\r' && i < text.size() && text[i] == u'\n') continue;
        const std::string_view form = forms.formOf(unit);
        std::memcpy(&buffer[used], form.data(), form.size());
        used += form.size();
    }
    out.append(buffer.data(), used);
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

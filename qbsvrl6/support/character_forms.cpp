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

char* putPlain(char* to, std::u16string_view& text, const CharacterForms& forms) {
    const char16_t* at = text.data();
    const char16_t* const end = at + text.size();
    while (at < end) {
        const char16_t unit = *at;
        if (unit < 0x80) {
            if (!forms.isPlain(unit)) break;
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
    text = {at, end};
    return to;
}

// Writes blocks through a buffer of fixed size.
void appendForms(std::string& out, std::u16string_view text, const CharacterForms& forms) {
    constexpr std::size_t kUnits = 256;
    std::array<char, kMostBytes * kUnits> buffer;
    while (!text.empty()) {
        const bool dividesPair = text.size() > kUnits && (text[kUnits - 1] & 0xFC00) == 0xD800;
        std::u16string_view block = text.substr(0, kUnits - (dividesPair ? 1 : 0));
        text.remove_prefix(block.size());
        const char* const end = putPlain(buffer.data(), block, forms);
        out.append(buffer.data(), static_cast<std::size_t>(end - buffer.data()));
        if (block.empty()) continue;
        text = {block.data(), block.size() + text.size()};
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

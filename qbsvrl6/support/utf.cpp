#include "qbsvrl6/support/utf.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "qbsvrl6/support/put_utf8.h"

namespace qbsvrl6 {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

constexpr bool isHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
constexpr bool isLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

struct Decoded {
    char32_t character = kReplacement;
    std::size_t length = 1;  // bytes read; of an invalid sequence, its maximal invalid part
    bool valid = false;
};

// UTF-8 as in table 3-7 of the Unicode standard: the second byte's range depends on the first, which excludes
// overlong forms, surrogates and numbers beyond U+10FFFF.
Decoded decode(std::string_view bytes, std::size_t index) {
    const auto byteAt = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const unsigned char lead = byteAt(index);
    if (lead < 0x80) return {lead, 1, true};
    std::size_t length = 0;
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
    char32_t character = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
        character = lead & 0x1Fu;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        character = lead & 0x0Fu;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        character = lead & 0x07u;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    } else {
        return {};
    }
    for (std::size_t i = 1; i < length; ++i) {
        if (index + i >= bytes.size()) return {kReplacement, i, false};
        const unsigned char next = byteAt(index + i);
        if (next < low || next > high) return {kReplacement, i, false};
        character = (character << 6) | (next & 0x3Fu);
        low = 0x80;
        high = 0xBF;
    }
    return {character, length, true};
}

// Length of the run of ASCII bytes from `index` on.
std::size_t asciiRun(std::string_view bytes, std::size_t index) {
    std::size_t end = index;
    while (end + 8 <= bytes.size()) {
        std::uint64_t block = 0;
        std::memcpy(&block, bytes.data() + end, 8);
        if ((block & 0x8080808080808080u) != 0) break;
        end += 8;
    }
    while (end < bytes.size() && static_cast<unsigned char>(bytes[end]) < 0x80) ++end;
    return end - index;
}

}  // namespace

std::u16string toUtf16(std::string_view utf8) {
    std::u16string text;
    text.reserve(utf8.size());
    std::size_t index = 0;
    while (index < utf8.size()) {
        const std::size_t run = asciiRun(utf8, index);
        text.append(utf8.begin() + static_cast<std::ptrdiff_t>(index),
                    utf8.begin() + static_cast<std::ptrdiff_t>(index + run));
        index += run;
        if (index == utf8.size()) break;
        const Decoded decoded = decode(utf8, index);
        appendCharacter(text, decoded.character);
        index += decoded.length;
    }
    return text;
}

std::string toUtf8(std::u16string_view utf16) {
    std::string bytes;
    bytes.reserve(utf16.size());
    for (std::size_t index = 0; index < utf16.size();) {
        const char32_t character = nextCharacter(utf16, index);
        if (character < 0x80) {
            bytes += static_cast<char>(character);
        } else {
            char units[4];
            bytes.append(&units[0], putUtf8(&units[0], character));
        }
    }
    return bytes;
}

bool isValidUtf8(std::string_view bytes) {
    std::size_t index = 0;
    while (index < bytes.size()) {
        index += asciiRun(bytes, index);
        if (index == bytes.size()) break;
        const Decoded decoded = decode(bytes, index);
        if (!decoded.valid) return false;
        index += decoded.length;
    }
    return true;
}

char32_t nextCharacter(std::u16string_view text, std::size_t& index) {
    const char32_t unit = text[index++];
    if (isHighSurrogate(unit) && index < text.size() && isLowSurrogate(text[index])) {
        return 0x10000 + ((unit - 0xD800) << 10) + (static_cast<char32_t>(text[index++]) - 0xDC00);
    }
    return isHighSurrogate(unit) || isLowSurrogate(unit) ? kReplacement : unit;
}

void appendCharacter(std::u16string& text, char32_t character) {
    if (character < 0x10000) {
        text += static_cast<char16_t>(character);
    } else {
        text += static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10));
        text += static_cast<char16_t>(0xDC00 + ((character - 0x10000) & 0x3FF));
    }
}

}  // namespace qbsvrl6

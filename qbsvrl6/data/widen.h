// Valid UTF-8 to UTF-16 in the inner loops of the readers.
#ifndef QBSVR_QBSVRL6_DATA_WIDEN_H
#define QBSVR_QBSVRL6_DATA_WIDEN_H

#include <string>
#include <string_view>

namespace qbsvrl6 {

// Converts valid UTF-8 to UTF-16 in `buffer`, which only grows, and returns the result, a part of the buffer.
std::u16string_view widen(std::string_view utf8, std::u16string& buffer);

// Writes one character as UTF-16 to `out` and advances `out`.
inline void putCharacter(char16_t*& out, char32_t character) {
    if (character < 0x10000) {
        *out++ = static_cast<char16_t>(character);
    } else {
        *out++ = static_cast<char16_t>(0xD7C0 + (character >> 10));
        *out++ = static_cast<char16_t>(0xDC00 + (character & 0x3FF));
    }
}

// Copies ASCII characters up to the first one for which `stop` is true, and returns the position after them.
template <typename Stop>
inline const char* copyAscii(const char* from, const char* end, char16_t*& out, Stop stop) {
    while (from != end && static_cast<unsigned char>(*from) < 0x80 && !stop(*from)) {
        *out++ = static_cast<char16_t>(*from++);
    }
    return from;
}

// Reads one character of valid UTF-8 beyond ASCII.
inline char32_t takeCharacter(const char*& from) {
    const auto next = [&] { return static_cast<char32_t>(static_cast<unsigned char>(*from++)); };
    const char32_t lead = next();
    if (lead < 0xE0) return ((lead & 0x1F) << 6) | (next() & 0x3F);
    char32_t character = lead < 0xF0 ? lead & 0x0F : lead & 0x07;
    character = (character << 6) | (next() & 0x3F);
    character = (character << 6) | (next() & 0x3F);
    return lead < 0xF0 ? character : (character << 6) | (next() & 0x3F);
}

}  // namespace qbsvrl6

#endif

// Data files as UTF-8 text, with places in it for messages.
#ifndef QBSVR_QBSVRL6_DATA_SOURCE_TEXT_H
#define QBSVR_QBSVRL6_DATA_SOURCE_TEXT_H

#include <string>
#include <string_view>

#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

// Bytes of a data file, turned into valid UTF-8 without a mark.
class SourceText {
public:
    // UTF-8 and UTF-16 by their marks, else what an XML declaration names, else UTF-8. Raises EngineError
    // (BadEncoding) with the place of the first bad sequence, and NotSupported for an encoding we don't know.
    SourceText(std::string_view bytes, std::string origin);

    const std::string& text() const { return text_; }
    const std::string& origin() const { return origin_; }

    // Line and column (in characters) of a byte of the text.
    SourcePlace place(std::size_t offset) const;
    [[noreturn]] void fail(ErrorCode code, const std::string& message, std::size_t offset) const;

private:
    void readUtf8(std::string_view bytes);
    void readUtf16(std::string_view bytes, bool bigEndian);
    void readDeclared(std::string_view bytes);
    void convert(std::string_view bytes, const char* encoding);

    std::string origin_;
    std::string text_;
};

// Writes valid UTF-8 as UTF-16 into `buffer`, which only ever grows, and shows what was written.
std::u16string_view widen(std::string_view utf8, std::u16string& buffer);

// Appends one character as UTF-16 at `out` and moves it on.
inline void putCharacter(char16_t*& out, char32_t character) {
    if (character < 0x10000) {
        *out++ = static_cast<char16_t>(character);
    } else {
        *out++ = static_cast<char16_t>(0xD7C0 + (character >> 10));
        *out++ = static_cast<char16_t>(0xDC00 + (character & 0x3FF));
    }
}

// Copies the run of ASCII characters that `stop` doesn't want to see, then returns where it ended.
template <typename Stop>
inline const char* copyAscii(const char* from, const char* end, char16_t*& out, Stop stop) {
    while (from != end && static_cast<unsigned char>(*from) < 0x80 && !stop(*from)) {
        *out++ = static_cast<char16_t>(*from++);
    }
    return from;
}

// Reads one character of valid UTF-8 that isn't ASCII.
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

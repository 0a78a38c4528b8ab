// One character as UTF-8, for the inner loops of conversions.
#ifndef QBSVR_QBSVRL6_SUPPORT_PUT_UTF8_H
#define QBSVR_QBSVRL6_SUPPORT_PUT_UTF8_H

#include <cstddef>

namespace qbsvrl6 {

// Writes a character outside ASCII to a buffer of four bytes and returns its length.
inline std::size_t putUtf8(char* place, char32_t c) {
    std::size_t used = 0;
    const auto put = [&](char32_t byte) { place[used++] = static_cast<char>(byte); };
    if (c < 0x800) {
        put(0xC0 | (c >> 6));
    } else if (c < 0x10000) {
        put(0xE0 | (c >> 12));
        put(0x80 | ((c >> 6) & 0x3F));
    } else {
        put(0xF0 | (c >> 18));
        put(0x80 | ((c >> 12) & 0x3F));
        put(0x80 | ((c >> 6) & 0x3F));
    }
    put(0x80 | (c & 0x3F));
    return used;
}

}  // namespace qbsvrl6

#endif

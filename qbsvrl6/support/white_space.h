// White space in ASCII and Unicode.
#ifndef QBSVR_QBSVRL6_SUPPORT_WHITE_SPACE_H
#define QBSVR_QBSVRL6_SUPPORT_WHITE_SPACE_H

#include <string_view>

namespace qbsvrl6 {

// Tabs, line ends and spaces of any width, including the zero-width space and the byte order mark.
constexpr bool isWhiteSpace(char16_t unit) {
    if (unit < 0x80) return unit == u' ' || (unit >= 9 && unit <= 13);
    return unit == 0x85 || unit == 0xA0 || unit == 0x3000 || (unit >= 0x2000 && unit <= 0x200B) ||
           unit == 0x2028 || unit == 0x2029 || unit == 0x202F || unit == 0xFEFF;
}

// The text without white space at both ends.
constexpr std::u16string_view trimmed(std::u16string_view text) {
    while (!text.empty() && isWhiteSpace(text.front())) text.remove_prefix(1);
    while (!text.empty() && isWhiteSpace(text.back())) text.remove_suffix(1);
    return text;
}

}  // namespace qbsvrl6

#endif

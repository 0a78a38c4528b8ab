// ASCII letters and digits, in bytes and in UTF-16 units. Other characters are never letters or digits and
// have no case: nothing here depends on a locale.
#ifndef QBSVR_QBSVRL6_SUPPORT_ASCII_H
#define QBSVR_QBSVRL6_SUPPORT_ASCII_H

#include <algorithm>
#include <string>
#include <string_view>

namespace qbsvrl6 {

inline constexpr char kHexDigits[] = "0123456789abcdef";
inline constexpr char kUpperHexDigits[] = "0123456789ABCDEF";

template <class Unit>
constexpr bool isDigit(Unit unit) {
    return unit >= Unit('0') && unit <= Unit('9');
}

template <class Unit>
constexpr Unit lowered(Unit unit) {
    return unit >= Unit('A') && unit <= Unit('Z') ? static_cast<Unit>(unit + ('a' - 'A')) : unit;
}

template <class Unit>
constexpr bool isLatinLetter(Unit unit) {
    return lowered(unit) >= Unit('a') && lowered(unit) <= Unit('z');
}

// 0 to 15, or -1 for other characters.
template <class Unit>
constexpr int hexValue(Unit unit) {
    if (isDigit(unit)) return static_cast<int>(unit - Unit('0'));
    const Unit letter = lowered(unit);
    return letter >= Unit('a') && letter <= Unit('f') ? static_cast<int>(letter - Unit('a')) + 10 : -1;
}

inline std::u16string lowerCase(std::u16string_view text) {
    std::u16string result(text);
    for (char16_t& unit : result) unit = lowered(unit);
    return result;
}

inline bool equalsIgnoringCase(std::u16string_view left, std::u16string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char16_t a, char16_t b) { return lowered(a) == lowered(b); });
}

inline bool startsIgnoringCase(std::u16string_view text, std::u16string_view start) {
    return equalsIgnoringCase(text.substr(0, start.size()), start);
}

}  // namespace qbsvrl6

#endif

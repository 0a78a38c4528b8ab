// The case of letters.
#ifndef QBSVR_QBSVRL6_SUPPORT_LETTER_CASE_H
#define QBSVR_QBSVRL6_SUPPORT_LETTER_CASE_H

#include <algorithm>
#include <string>
#include <string_view>

namespace qbsvrl6 {

// The alphabets whose cases differ by a constant: Latin, Greek and Cyrillic. The same on every machine,
// whatever its locale.
constexpr char16_t toUpper(char16_t unit) {
    if ((unit >= u'a' && unit <= u'z') || (unit >= 0xE0 && unit <= 0xFE && unit != 0xF7) ||
        (unit >= 0x3B1 && unit <= 0x3C9 && unit != 0x3C2) || (unit >= 0x430 && unit <= 0x44F)) {
        return static_cast<char16_t>(unit - 32);
    }
    if (unit >= 0x450 && unit <= 0x45F) return static_cast<char16_t>(unit - 80);
    return unit;
}

constexpr char16_t toLower(char16_t unit) {
    if ((unit >= u'A' && unit <= u'Z') || (unit >= 0xC0 && unit <= 0xDE && unit != 0xD7) ||
        (unit >= 0x391 && unit <= 0x3A9) || (unit >= 0x410 && unit <= 0x42F)) {
        return static_cast<char16_t>(unit + 32);
    }
    if (unit >= 0x400 && unit <= 0x40F) return static_cast<char16_t>(unit + 80);
    return unit;
}

inline std::u16string foldedCase(std::u16string_view text) {
    std::u16string folded(text);
    std::transform(folded.begin(), folded.end(), folded.begin(), toLower);
    return folded;
}

}  // namespace qbsvrl6

#endif

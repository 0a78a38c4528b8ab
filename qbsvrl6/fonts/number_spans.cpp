#include "qbsvrl6/fonts/number_spans.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "qbsvrl6/support/ascii.h"

namespace qbsvrl6 {

namespace {

constexpr std::size_t kLongestCode = 30;     // with letters in it; anything longer counts as a word
constexpr std::size_t kLongestLetters = 12;  // in a row within a code

constexpr bool isWithin(char16_t unit, char16_t first, char16_t last) {
    return unit >= first && unit <= last;
}

constexpr bool isAnyOf(char16_t unit, std::u16string_view units) { return units.find(unit) != units.npos; }

// The roles that a character can have in a number: any number of these.
using Roles = unsigned;
constexpr Roles kDigit = 1 << 0;
constexpr Roles kLetter = 1 << 1;
constexpr Roles kSign = 1 << 2;
constexpr Roles kUnderscore = 1 << 3;
constexpr Roles kStart = 1 << 4;      // leads to the first digit
constexpr Roles kEnd = 1 << 5;        // follows the last digit
constexpr Roles kSeparator = 1 << 6;  // between digits
constexpr Roles kCodeJoint = 1 << 7;  // between a part of a code and its digits
constexpr Roles kDateUnit = 1 << 8;   // follows the digits of a date

constexpr bool isCurrency(char16_t unit) {
    return unit == u'$' || isWithin(unit, u'¢', u'¥') || isWithin(unit, 0x20A0, 0x20CF) ||
           isAnyOf(unit, u"\uFF04\uFFE0\uFFE1\uFFE5");
}

constexpr bool isDecimalDigit(char16_t unit) {
    if (unit < 0x80) return isDigit(unit);
    return isWithin(unit, 0x660, 0x669) || isWithin(unit, 0x6F0, 0x6F9) || isWithin(unit, 0x966, 0x96F) ||
           isWithin(unit, 0xFF10, 0xFF19);
}

constexpr bool isLetter(char16_t unit) {
    return isLatinLetter(unit) || isAnyOf(unit, u"µ²³¹") ||
           (isWithin(unit, 0xC0, 0x24F) && unit != u'×' && unit != u'÷') || isWithin(unit, 0x370, 0x52F) ||
           isWithin(unit, 0x5D0, 0x5EA) || isWithin(unit, 0x620, 0x64A);
}

constexpr Roles findRoles(char16_t unit) {
    Roles roles = 0;
    if (isDecimalDigit(unit)) roles |= kDigit;
    if (isLetter(unit)) roles |= kLetter;
    if (isAnyOf(unit, u"+-\u00B1\u2010\u2011\u2013\u2212~≈")) roles |= kSign | kStart;
    if (unit == u'_') roles |= kUnderscore;
    if (isCurrency(unit)) roles |= kStart | kEnd;
    if (isAnyOf(unit, u"([#.№")) roles |= kStart;
    if (isAnyOf(unit, u"%‰°)]′″٪％")) roles |= kEnd;
    if (isAnyOf(unit, u",'’\u00A0\u2007\u2009\u202F٫٬")) roles |= kSeparator;
    if (isAnyOf(unit, u".:/")) roles |= kCodeJoint;
    if (isAnyOf(unit, u"年月日时時分秒")) roles |= kDateUnit;
    return roles;
}

constexpr auto kAsciiRoles = [] {
    std::array<std::uint16_t, 128> table{};
    for (char16_t unit = 0; unit < table.size(); ++unit)
        table[unit] = static_cast<std::uint16_t>(findRoles(unit));
    return table;
}();

Roles rolesOf(char16_t unit) { return unit < kAsciiRoles.size() ? kAsciiRoles[unit] : findRoles(unit); }

// The rules for one span of text, in which letters are parts of codes or the end of a number.
class Joints {
public:
    Joints(std::u16string_view text, bool withLetters)
        : text_(text), part_(withLetters ? kDigit | kLetter : kDigit) {}

    // Whether the units on both sides of `at` belong to one number.
    bool holds(std::size_t at) const {
        const Roles left = roles(at - 1);
        const Roles right = roles(at);
        if ((left & part_) && (right & part_)) return true;
        if (joins(at) || (at > 1 && joins(at - 1))) return true;
        if ((left & kStart) && ((right & kDigit) || leads(at))) return true;
        if ((right & kEnd) && ((left & part_) || ((left & kEnd) && text_[at - 1] != text_[at]))) return true;
        if (right & kDateUnit) return left & kDigit;
        if (left & kDateUnit) return right & kDigit;
        const bool last = at + 1 == text_.size() || text_[at + 1] == u' ' || text_[at + 1] == u')';
        return (left & kDigit) && (right & kSign) && last;
    }

private:
    Roles roles(std::size_t unit) const { return rolesOf(text_[unit]); }

    // Whether the unit leads to a number, with at most one other such unit between: leader dots are not part
    // of it.
    bool leads(std::size_t unit) const {
        if (!(roles(unit) & kStart) || text_[unit] == text_[unit - 1] || unit + 1 >= text_.size())
            return false;
        const Roles next = roles(unit + 1);
        return (next & kDigit) || ((next & kStart) && text_[unit + 1] != text_[unit]);
    }

    // Whether the unit is a separator between two parts of one number.
    bool joins(std::size_t unit) const {
        const Roles own = roles(unit);
        if (!(own & (kSign | kUnderscore | kCodeJoint | kSeparator))) return false;
        if (unit == 0 || unit + 1 >= text_.size()) return false;
        const Roles before = roles(unit - 1);
        const Roles after = roles(unit + 1);
        if (own & (kSign | kUnderscore)) return (before & part_) && (after & part_);
        if (own & kCodeJoint) return (before & part_) && (after & kDigit);
        return (before & kDigit) && (after & kDigit);
    }

    std::u16string_view text_;
    Roles part_;  // what the parts consist of
};

bool endsWord(char16_t unit) { return unit <= u' ' || unit >= 0x2E80; }

// The run around a digit. Letters are examined only as far as a code can reach.
NumberSpan spanAround(std::u16string_view text, std::size_t digit, std::size_t from, bool withLetters) {
    const Joints joints(text, withLetters);
    const std::size_t most = withLetters ? kLongestCode + 1 : text.size();
    NumberSpan span{digit, digit + 1};
    while (span.first > from && span.size() < most && joints.holds(span.first)) --span.first;
    while (span.end < text.size() && span.size() < most && joints.holds(span.end)) ++span.end;
    return span;
}

bool isCode(std::u16string_view span) {
    if (span.size() > kLongestCode) return false;
    std::size_t letters = 0;
    for (const char16_t unit : span) {
        letters = rolesOf(unit) & kLetter ? letters + 1 : 0;
        if (letters > kLongestLetters) return false;
    }
    return true;
}

bool isAddress(std::u16string_view word) {
    return word.find(u"://") != word.npos || word.find(u"www.") != word.npos;
}

}  // namespace

bool NumberFinder::isInAddress(std::size_t digit) {
    if (digit < wordEnd_) return isAddress_;
    std::size_t first = digit;
    while (first > wordEnd_ && !endsWord(text_[first - 1])) --first;
    wordEnd_ = digit;
    while (wordEnd_ < text_.size() && !endsWord(text_[wordEnd_])) ++wordEnd_;
    isAddress_ = isAddress(text_.substr(first, wordEnd_ - first));
    return isAddress_;
}

NumberSpan NumberFinder::next() {
    while (from_ < text_.size()) {
        const auto start = text_.begin() + static_cast<std::ptrdiff_t>(from_);
        const auto digit =
            static_cast<std::size_t>(std::find_if(start, text_.end(), isDecimalDigit) - text_.begin());
        if (digit == text_.size()) break;
        if (isInAddress(digit)) {
            from_ = std::max(wordEnd_, digit + 1);
            continue;
        }
        NumberSpan span = spanAround(text_, digit, from_, true);
        if (!isCode(text_.substr(span.first, span.size()))) span = spanAround(text_, digit, from_, false);
        from_ = span.end;
        return span;
    }
    from_ = text_.size();
    return {from_, from_};
}

// Fast for most texts: near their beginning is a character that cannot be part of a number, such as a space.
bool isLoneNumber(std::u16string_view text) {
    Roles all = 0;
    for (const char16_t unit : text) {
        const Roles roles = rolesOf(unit);
        if (roles == 0) return false;
        all |= roles;
    }
    return (all & kDigit) && NumberFinder(text).next().size() == text.size();
}

}  // namespace qbsvrl6

#include "qbsvrl6/fonts/number_spans.h"

#include <algorithm>

#include "qbsvrl6/support/ascii.h"

namespace qbsvrl6 {

namespace {

constexpr std::size_t kLongestCode = 30;     // with letters in it; what is longer reads as a word
constexpr std::size_t kLongestLetters = 12;  // in a row within a code

bool isWithin(char16_t unit, char16_t first, char16_t last) { return unit >= first && unit <= last; }

bool isAnyOf(char16_t unit, std::u16string_view units) { return units.find(unit) != units.npos; }

bool isDecimalDigit(char16_t unit) {
    if (unit < 0x80) return isDigit(unit);
    return isWithin(unit, 0x660, 0x669) || isWithin(unit, 0x6F0, 0x6F9) || isWithin(unit, 0x966, 0x96F) ||
           isWithin(unit, 0xFF10, 0xFF19);
}

bool isLetter(char16_t unit) {
    if (unit < 0x80) return isLatinLetter(unit);
    return isAnyOf(unit, u"µ²³¹") || (isWithin(unit, 0xC0, 0x24F) && unit != u'×' && unit != u'÷') ||
           isWithin(unit, 0x370, 0x52F) || isWithin(unit, 0x5D0, 0x5EA) || isWithin(unit, 0x620, 0x64A);
}

bool isCurrency(char16_t unit) {
    return unit == u'$' || isWithin(unit, u'¢', u'¥') || isWithin(unit, 0x20A0, 0x20CF) ||
           isAnyOf(unit, u"\uFF04\uFFE0\uFFE1\uFFE5");
}

bool isSign(char16_t unit) { return isAnyOf(unit, u"+-\u00B1\u2010\u2011\u2013\u2212~≈"); }

bool startsNumber(char16_t unit) { return isSign(unit) || isCurrency(unit) || isAnyOf(unit, u"([#.№"); }

bool endsNumber(char16_t unit) { return isCurrency(unit) || isAnyOf(unit, u"%‰°)]′″٪％"); }

bool joinsDigits(char16_t unit) { return isAnyOf(unit, u",'’\u00A0\u2007\u2009\u202F٫٬"); }

bool joinsDigitsToCodes(char16_t unit) { return isAnyOf(unit, u".:/"); }

bool isDateUnit(char16_t unit) { return isAnyOf(unit, u"年月日时時分秒"); }

// The rules for one stretch of text, with letters as parts of codes or as the end of a number.
class Joints {
public:
    Joints(std::u16string_view text, bool withLetters) : text_(text), withLetters_(withLetters) {}

    // Whether the units on both sides of `at` belong to one number.
    bool holds(std::size_t at) const {
        const char16_t left = text_[at - 1];
        const char16_t right = text_[at];
        if (isPart(left) && isPart(right)) return true;
        if (joins(at) || (at > 1 && joins(at - 1))) return true;
        if (startsNumber(left) && (isDecimalDigit(right) || leads(at))) return true;
        if (endsNumber(right) && (isPart(left) || (endsNumber(left) && left != right))) return true;
        if (isDateUnit(right)) return isDecimalDigit(left);
        if (isDateUnit(left)) return isDecimalDigit(right);
        const bool last = at + 1 == text_.size() || text_[at + 1] == u' ' || text_[at + 1] == u')';
        return isDecimalDigit(left) && isSign(right) && last;
    }

private:
    bool isPart(char16_t unit) const { return isDecimalDigit(unit) || (withLetters_ && isLetter(unit)); }

    // Whether the unit leads to a number by another such unit or none: leader dots are no part of it.
    bool leads(std::size_t unit) const {
        if (!startsNumber(text_[unit]) || text_[unit] == text_[unit - 1] || unit + 1 >= text_.size())
            return false;
        const char16_t next = text_[unit + 1];
        return isDecimalDigit(next) || (startsNumber(next) && next != text_[unit]);
    }

    // Whether the unit is a separator between two parts of one number.
    bool joins(std::size_t unit) const {
        if (unit == 0 || unit + 1 >= text_.size()) return false;
        const char16_t before = text_[unit - 1];
        const char16_t after = text_[unit + 1];
        if (isDecimalDigit(text_[unit]) || isLetter(text_[unit])) return false;
        if (isSign(text_[unit]) || text_[unit] == u'_') return isPart(before) && isPart(after);
        if (joinsDigitsToCodes(text_[unit])) return isPart(before) && isDecimalDigit(after);
        return joinsDigits(text_[unit]) && isDecimalDigit(before) && isDecimalDigit(after);
    }

    std::u16string_view text_;
    bool withLetters_;
};

bool endsWord(char16_t unit) { return unit <= u' ' || unit >= 0x2E80; }

// The run around a digit. Letters are followed no further than a code may reach.
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
        letters = isLetter(unit) ? letters + 1 : 0;
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

bool isLoneNumber(std::u16string_view text) {
    return !text.empty() && NumberFinder(text).next().size() == text.size();
}

}  // namespace qbsvrl6

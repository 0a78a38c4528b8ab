#include "qbsvrl6/bind/number_text.h"

#include <algorithm>
#include <array>

#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/white_space.h"

namespace qbsvrl6 {

namespace {

using TextView = std::u16string_view;

// The number of leading digits.
std::size_t digitsOf(TextView text) {
    return static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), isDigit<char16_t>) -
                                    text.begin());
}

bool takeCurrencySign(TextView& text, bool fromStart) {
    constexpr TextView kSigns = u"$¥￥€£￡₩₹₽元";
    if (text.empty() || kSigns.find(fromStart ? text.front() : text.back()) == TextView::npos) return false;
    fromStart ? text.remove_prefix(1) : text.remove_suffix(1);
    text = trimmed(text);
    return true;
}

bool takeSign(TextView& text, bool& negative) {
    if (text.empty() || (text.front() != u'-' && text.front() != u'+')) return false;
    negative = text.front() == u'-';
    text = trimmed(text.substr(1));
    return true;
}

// Digits, with or without groups of three, and decimal places.
bool parseAmount(TextView text, Number& number) {
    constexpr std::size_t kGroup = 3;
    std::array<char16_t, 64> plain;
    if (text.size() > plain.size()) return false;
    std::size_t length = digitsOf(text);
    char16_t* end = std::copy_n(text.begin(), length, plain.begin());
    text.remove_prefix(length);
    if (text.starts_with(u',') && (length == 0 || length > kGroup || plain[0] == u'0')) return false;
    while (text.starts_with(u',')) {
        if (digitsOf(text.substr(1)) != kGroup) return false;
        end = std::copy_n(text.begin() + 1, kGroup, end);
        text.remove_prefix(1 + kGroup);
    }
    if (text.starts_with(u'.')) {
        length = 1 + digitsOf(text.substr(1));
        end = std::copy_n(text.begin(), length, end);
        text.remove_prefix(length);
    }
    return text.empty() && Number::parse(TextView(plain.data(), end), number);
}

bool parseMoney(TextView text, Number& number) {
    bool negative = text.size() > 2 && text.front() == u'(' && text.back() == u')';
    if (negative) text = trimmed(text.substr(1, text.size() - 2));
    const bool hasSign = negative || takeSign(text, negative);
    if (!takeCurrencySign(text, true)) {
        takeCurrencySign(text, false);
    } else if (!hasSign) {
        takeSign(text, negative);
    }
    if (!parseAmount(text, number)) return false;
    if (negative) number = -number;
    return true;
}

}  // namespace

bool parseNumber(TextView text, Number& number) {
    text = trimmed(text);
    const bool hasPlus = text.starts_with(u'+') && !text.starts_with(u"+-");
    return Number::parse(text.substr(hasPlus ? 1 : 0), number) || parseMoney(text, number);
}

}  // namespace qbsvrl6

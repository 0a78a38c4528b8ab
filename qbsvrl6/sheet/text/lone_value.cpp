#include "qbsvrl6/sheet/text/lone_value.h"

#include <algorithm>

namespace qbsvrl6 {

namespace {

constexpr std::size_t kLongest = 32;

bool isDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }

bool isOfWord(char16_t unit) {
    // Units of dates, times and money, full-width signs and the minus sign. The ranges hold other currency
    // signs and spaces that never break a line.
    constexpr std::u16string_view kUnits = u"年月日时分秒元％￥−";
    if (unit > 0x20 && unit < 0x2000) return true;
    return (unit >= 0x2010 && unit <= 0x20CF) || kUnits.find(unit) != std::u16string_view::npos;
}

}  // namespace

bool isLoneValue(std::u16string_view text) {
    return text.size() <= kLongest && std::any_of(text.begin(), text.end(), isDigit) &&
           std::all_of(text.begin(), text.end(), isOfWord);
}

}  // namespace qbsvrl6

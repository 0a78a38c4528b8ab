// Chinese capital numerals: digits with unit characters between them, so that no digit of a document can be
// altered afterwards.
#include <algorithm>
#include <cmath>
#include <string_view>

#include "common/internal/ascii.h"
#include "common/string_ops.h"
#include "format/internal/fixed_digits.h"
#include "format/numeric_format.h"

namespace larkspur {

namespace {

constexpr lkchar BigDigitChars[] = u"零壹贰叁肆伍陆柒捌玖";
constexpr std::u16string_view BigUnitChars = u"元拾佰仟万拾佰仟亿拾佰仟";

constexpr std::size_t kGroupPlaces = 4;

lkchar BigDigit(char digit) { return BigDigitChars[digit - '0']; }

// Places beyond the named units give a zero unit, at which text functions end, so that a number that is too
// large never reads as a smaller one.
lkchar BigUnit(std::size_t place) { return place < BigUnitChars.size() ? BigUnitChars[place] : u'\0'; }

// Builds the text from the ones upward, so its last unit comes first.
lkstr BigInteger(std::string_view digits) {
    lkstr reversed;
    reversed.reserve(2 * digits.size() + digits.size() / kGroupPlaces);
    bool groupPending = false;
    bool zeroPending = false;
    for (std::size_t place = 0; place < digits.size(); ++place) {
        const char digit = digits[digits.size() - 1 - place];
        const bool startsGroup = place % kGroupPlaces == 0;
        if (place != 0 && startsGroup) groupPending = true;
        if (digit == '0') {
            zeroPending = true;
            continue;
        }
        if (zeroPending && !reversed.empty()) reversed += u'零';
        zeroPending = false;
        if (place != 0) {
            if (groupPending && !startsGroup) reversed += BigUnit(place - place % kGroupPlaces);
            reversed += BigUnit(place);
            groupPending = false;
        }
        reversed += BigDigit(digit);
    }
    std::reverse(reversed.begin(), reversed.end());
    return reversed;
}

lkstr NameOf(double notFinite) {
    const FixedDigits name(notFinite, 0);
    return lkstr(name.Digits().begin(), name.Digits().end());
}

}  // namespace

lkstr ClkNumericFormatParser::ToBigMoney(double value) {
    if (!std::isfinite(value)) return NameOf(value);
    if (value > -0.005 && value < 0.005) return u"零元整";
    const bool negative = value < 0.0;
    const FixedDigits cents(std::fabs(value) + 1e-11, 2);
    // Below one yuan the digits start after the point.
    std::string_view digits = cents.Digits();
    const std::size_t integers = static_cast<std::size_t>(std::max(cents.PointPosition(), 0));
    const char fen = digits.back();
    const char jiao = digits.size() > 1 ? digits[digits.size() - 2] : '0';

    lkstr text = BigInteger(digits.substr(0, integers));
    if (!text.empty()) text += u'元';
    if (jiao != '0' || (fen != '0' && !text.empty())) text += BigDigit(jiao);
    if (jiao != '0') text += u'角';
    if (fen == '0') {
        text += u'整';
    } else {
        text += BigDigit(fen);
        text += u'分';
    }
    if (negative) text.insert(text.begin(), u'负');
    return text;
}

lkstr ClkNumericFormatParser::ToBigNumeric(double value, const ClkFormatAnalyser& analyser) {
    lkstr text = analyser.m_Prefix;
    double limit = -0.5;
    for (int i = 0; i < analyser.m_MaxDecimals && limit != 0.0; ++i) limit *= 0.1;
    if (limit > value) text += u'负';
    if (std::isfinite(value)) {
        const lkstr number = BigInteger(FixedDigits(std::fabs(value), 0).Digits());
        text += number.empty() ? u"零" : number;
    } else {
        text += NameOf(std::fabs(value));
    }
    text += analyser.m_Suffix;
    return text;
}

lkstr ClkNumericFormatParser::ToBigNumericDigit(const lkchar* text) {
    lkstr digits;
    for (; text != nullptr && *text != u'\0'; ++text) {
        if (IsAsciiDigit(*text)) digits += BigDigit(static_cast<char>(*text));
    }
    return digits;
}

lkstr FormatNumberToBigHZAmount(double value) { return FormatNumber(value, u"$$"); }

lkstr FormatNumberToBigHZ(double value, int decimals) {
    lkstr format = u"$$0";
    if (decimals > 0) {
        format += u'.';
        format.append(static_cast<std::size_t>(decimals), u'0');
    }
    return FormatNumber(value, format.c_str());
}

}  // namespace larkspur

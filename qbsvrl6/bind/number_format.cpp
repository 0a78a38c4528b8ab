#include "qbsvrl6/bind/number_format.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <utility>

#include "format/locale_settings.h"
#include "qbsvrl6/bind/spreadsheet_format.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

constexpr double kFirstScientific = 1e38;  // a double this large has 17 digits of its own, others are untrue
constexpr std::size_t kLongestSpreadsheetFormat = 255;

// The number format for numbers without words: "0$$$$$" and "$$0" without their markers.
std::u16string sectionsOf(const larkspur::ClkNumericFormatParser& words, std::u16string_view text) {
    constexpr std::u16string_view kDigitMarker = u"$$$$$";
    constexpr std::u16string_view kMarker = u"$$";
    std::u16string sections(text);
    switch (words.m_Kind) {
        case larkspur::NumericKindBigDigit:
            return sections.erase(sections.find(kDigitMarker), kDigitMarker.size());
        case larkspur::NumericKindBigNumeric:
            return sections.erase(0, kMarker.size());
        case larkspur::NumericKindBigMoney:
            return u"#,##0.00";
        case larkspur::NumericKindIntEnum:
            return {};
        default:
            return sections;
    }
}

bool showsZero(std::u16string_view digits) {
    return std::none_of(digits.begin(), digits.end(),
                        [](char16_t unit) { return unit > u'0' && unit <= u'9'; });
}

// Writes the digits of coefficient / 10^places before `at`, from the last to the first, and returns the first.
template <class Whole>
char16_t* writeDigits(Whole coefficient, int places, const larkspur::ClkNumericFormatParser& format,
                      char16_t* at) {
    const auto& form = format.m_Normal;
    const int leastDecimals = std::max(form.m_MinDecimals, 0);
    const auto put = [&at](std::u16string_view text) {
        for (std::size_t i = text.size(); i > 0; --i) *--at = text[i - 1];
    };
    const auto putDigit = [&] {
        *--at = static_cast<char16_t>(u'0' + static_cast<int>(coefficient % 10));
        coefficient /= 10;
    };
    for (; places > leastDecimals && coefficient % 10 == 0; --places) coefficient /= 10;
    for (int place = places; place < leastDecimals; ++place) *--at = u'0';
    for (int place = places; place > 0; --place) putDigit();
    if (places > 0 || leastDecimals > 0) put(larkspur::g_c_DecimalSep);
    int left = form.m_GroupSize;
    for (int count = 0; coefficient != 0 || count < form.m_MinIntegerDigits; ++count, --left) {
        if (left == 0 && form.m_GroupSize > 0) {
            put(larkspur::g_c_ThousandSep);
            left = form.m_GroupSize;
        }
        putDigit();
    }
    return at;
}

}  // namespace

NumberFormat::NumberFormat(std::u16string text) : text_(std::move(text)) {
    words_.Parse(text_.c_str());
    sections_ = cutNumberFormat(sectionsOf(words_, text_));
    hasSpreadsheetColors_ = canShowColors();
}

void NumberFormat::append(const Number& number, std::u16string& out, std::optional<Color>& color) {
    if (!number.isFinite()) return;
    if (isWords()) {
        appendWords(number, out, color);
    } else {
        appendDigits(number, out, color);
    }
}

void NumberFormat::appendDigits(const Number& number, std::u16string& out, std::optional<Color>& color) {
    const bool negative = number.isNegative();
    const NumberSection* section =
        negative && sections_.negative ? sections_.negative.get() : &sections_.normal;
    std::u16string_view digits = negative ? digitsOf(*section, -number) : digitsOf(*section, number);
    const bool isZero = section->hasDigits ? showsZero(digits) : number.isZero();
    NumberSection::Sign sign = NumberSection::Plus;
    if (isZero && sections_.zero) {
        section = sections_.zero.get();
        digits = digitsOf(*section, 0);
    } else if (negative) {
        sign = isZero ? NumberSection::RoundedMinus : NumberSection::Minus;
    }
    out += section->around[sign].before.shown;
    out += digits;
    out += section->around[sign].after.shown;
    if (section->color && !color) color = section->color;
}

// Rounds the decimal rather than the double: the double nearest to 1.005 is less than 1.005.
std::u16string_view NumberFormat::digitsOf(const NumberSection& section, const Number& magnitude) {
    if (!section.hasDigits) return {};
    const Decimal* const decimal = magnitude.decimal();
    const int places = std::max(section.digits.m_Normal.m_MaxDecimals, 0);
    if (decimal != nullptr && decimal->places() <= places && !section.percent && !section.exponent)
        return decimalDigitsOf(section, *decimal);
    const Number exact = section.percent ? magnitude * 100 : magnitude;
    if (!section.exponent && (exact.decimal() != nullptr || exact.toDouble() < kFirstScientific)) {
        const Number shown = exact.rounded(places);
        if (shown.decimal() != nullptr) return decimalDigitsOf(section, *shown.decimal());
        return section.digits.Format(shown.toDouble());
    }
    const double scaled = exact.toDouble();
    // As a percentage, 1e308 exceeds the range of double.
    return std::isfinite(scaled) ? scientificDigitsOf(section, scaled, 0)
                                 : scientificDigitsOf(section, magnitude.toDouble(), 2);
}

// The number is already rounded.
std::u16string_view NumberFormat::decimalDigitsOf(const NumberSection& section, const Decimal& magnitude) {
    const auto& form = section.digits.m_Normal;
    const auto most =
        static_cast<std::size_t>(std::max(form.m_MinIntegerDigits, 0) + std::max(form.m_MinDecimals, 0)) +
        Decimal::kLongestText;
    const std::size_t room = most * (1 + larkspur::g_c_ThousandSep.size()) + larkspur::g_c_DecimalSep.size();
    if (scratch_.size() < room) scratch_.resize(room);
    char16_t* const end = scratch_.data() + scratch_.size();
    const Int128 coefficient = magnitude.coefficient();
    const auto word = static_cast<std::uint64_t>(coefficient);
    // Dividing a word of 64 bits is many times faster.
    const bool isWord = static_cast<Int128>(word) == coefficient;
    const char16_t* const first = isWord ? writeDigits(word, magnitude.places(), section.digits, end)
                                         : writeDigits(coefficient, magnitude.places(), section.digits, end);
    return {first, static_cast<std::size_t>(end - first)};
}

std::u16string_view NumberFormat::scientificDigitsOf(const NumberSection& section, double magnitude,
                                                     int power) {
    if (magnitude != 0) {
        for (; magnitude >= 10; ++power) magnitude /= 10;
        for (; magnitude < 1; --power) magnitude *= 10;
    }
    std::u16string_view mantissa = section.digits.Format(magnitude);
    if (mantissa.starts_with(u"10")) {  // 9.999 with two decimals
        mantissa = section.digits.Format(magnitude / 10);
        ++power;
    }
    scratch_ = mantissa;
    const NumberSection::Exponent exponent = section.exponent.value_or(NumberSection::Exponent{});
    scratch_ += exponent.letter;
    if (power < 0) {
        scratch_ += u'-';
    } else if (exponent.plus) {
        scratch_ += u'+';
    }
    const std::string places = std::to_string(std::abs(power));
    if (places.size() < exponent.places) scratch_.append(exponent.places - places.size(), u'0');
    scratch_.append(places.begin(), places.end());
    return scratch_;
}

void NumberFormat::appendWords(const Number& exact, std::u16string& out, std::optional<Color>& color) {
    const double number = exact.toDouble();
    if (words_.m_Kind == larkspur::NumericKindIntEnum) {
        const auto& items = words_.m_IntEnum->m_Items;
        const bool isInt = std::fabs(number) <= std::numeric_limits<int>::max();
        const auto item = isInt ? items.find(static_cast<int>(number)) : items.end();
        if (item == items.end()) return appendDigits(exact, out, color);
        out += item->second;
        return;
    }
    std::u16string digits;
    appendDigits(exact, digits, color);
    const std::u16string words = chineseWords(roundedForWords(exact).toDouble(), digits);
    // A zero unit marks a digit place without a word.
    if (words.find(u'\0') == std::u16string::npos) {
        out += words;
        return;
    }
    out += digits;
    logWarningOnce("the format \"" + toUtf8(text_) +
                   "\" has no words for a number: its digits are shown; words end below 1,000,000,000,000");
}

// As digits are rounded: a double rounds 1234567.005 down, and 2.5 to even.
Number NumberFormat::roundedForWords(const Number& exact) const {
    constexpr int kFen = 2;
    switch (words_.m_Kind) {
        case larkspur::NumericKindBigMoney:
            return exact.rounded(kFen);
        case larkspur::NumericKindBigNumeric:
            return exact.rounded(0);
        default:
            return exact;
    }
}

std::u16string NumberFormat::chineseWords(double number, const std::u16string& digits) const {
    using Parser = larkspur::ClkNumericFormatParser;
    switch (words_.m_Kind) {
        case larkspur::NumericKindBigDigit:
            return std::fabs(number) < kFirstScientific ? Parser::ToBigNumericDigit(digits.c_str())
                                                        : std::u16string(1, u'\0');
        case larkspur::NumericKindBigMoney:
            return Parser::ToBigMoney(number);
        default:
            return Parser::ToBigNumeric(number, words_.m_Normal);
    }
}

// Spreadsheets put the minus sign before everything else if the format has no section for negative numbers.
std::u16string NumberFormat::spreadsheetFormat(std::u16string_view before, std::u16string_view after) const {
    using Section = NumberSection;
    if (isWords()) return {};
    const auto& [normal, negative, zero] = sections_;
    const bool hasColors = hasSpreadsheetColors();
    const auto formatOf = [&](const Section& section, Section::Sign sign) {
        std::u16string format;
        appendSpreadsheetLiteral(format, before);
        appendSpreadsheetPart(format, section.spreadsheetFormat(sign));
        appendSpreadsheetLiteral(format, after);
        return hasColors && section.color ? std::u16string(spreadsheetColor(*section.color)) + format
                                          : format;
    };
    const std::u16string plus = formatOf(normal, Section::Plus);
    const std::u16string minus = formatOf(negative ? *negative : normal, Section::Minus);
    if (!zero && minus == u'-' + plus) return plus == u"General" ? std::u16string() : plus;
    std::u16string format = plus + u';' + minus;
    if (zero) format += u';' + formatOf(*zero, Section::Plus);
    if (format.size() <= kLongestSpreadsheetFormat) return format;
    // Spreadsheets would cut a longer format, perhaps within a literal.
    const bool isSurrounded = !before.empty() || !after.empty();
    return isSurrounded ? std::u16string() : normal.digits.m_Normal.GetExportXlsFormatText();
}

bool NumberFormat::canShowColors() const {
    bool hasAny = false;
    const std::array<const NumberSection*, 3> all = {&sections_.normal, sections_.negative.get(),
                                                     sections_.zero.get()};
    for (const NumberSection* const section : all) {
        if (section == nullptr || !section->color) continue;
        if (spreadsheetColor(*section->color).empty()) return false;
        hasAny = true;
    }
    return hasAny && !isWords();
}

}  // namespace qbsvrl6

// Compares the number renderer with slow, obvious ones: its digits with the C library's, and whole texts with
// a reference in exact decimal arithmetic, for generated formats and values.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <thread>

#include "format/internal/fixed_digits.h"
#include "larkspur.h"

namespace larkspur {
namespace {

using Parser = ClkNumericFormatParser;
using Analyser = Parser::ClkFormatAnalyser;

// Values as people write them, ties and the values next to them, all magnitudes, random bit patterns.
double generateValue(std::mt19937_64& random) {
    const auto whole = static_cast<double>(static_cast<std::int64_t>(random()) >> (random() % 64));
    const double decimal = whole / std::pow(10.0, static_cast<double>(random() % 20));
    switch (random() % 6) {
        case 0:
            return std::bit_cast<double>(random());
        case 1:
            return std::ldexp(whole, -static_cast<int>(random() % 60));
        case 2:
            return std::nextafter(decimal, random() % 2 == 0 ? HUGE_VAL : -HUGE_VAL);
        case 3:
            return std::round(decimal * 1000) / 1000;
        default:
            return decimal;
    }
}

TEST(FixedDigits, AreThoseOfFcvt) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 200000; ++i) {
        const double value = i == 0 ? 0.0 : i == 1 ? -0.0 : generateValue(random);
        const int decimals = static_cast<int>(random() % 20);
        char expected[400];
        int point, sign;
        ASSERT_EQ(fcvt_r(value, decimals, &point, &sign, expected, sizeof expected), 0);
        const FixedDigits digits(value, decimals);
        ASSERT_EQ(digits.Digits(), expected) << value << " with " << decimals;
        ASSERT_EQ(digits.PointPosition(), point) << value << " with " << decimals;
        ASSERT_EQ(digits.IsNegative(), sign != 0) << value;
    }
}

// The digits of a finite value, rounded half to even from its exact decimals, without a point. The point is
// before the last `decimals` digits.
str exactDigits(double value, int decimals) {
    char exact[1500];
    std::snprintf(exact, sizeof exact, "%.1100f", std::fabs(value));
    str digits = exact;
    const std::size_t point = digits.find('.');
    digits.erase(point, 1);
    const str rest = digits.substr(point + static_cast<std::size_t>(decimals));
    digits.resize(point + static_cast<std::size_t>(decimals));
    const str tie = "5" + str(rest.size() - 1, '0');
    if (rest > tie || (rest == tie && (digits.back() - '0') % 2 == 1)) {
        std::size_t i = digits.size();
        while (i > 0 && digits[i - 1] == '9') digits[--i] = '0';
        if (i > 0) ++digits[i - 1];
        if (i == 0) digits.insert(0, 1, '1');
    }
    return digits;
}

str reference(const Analyser& section, double value, bool percent, bool exponent) {
    str mark;
    if (section.m_TextColor != 0) {
        mark = "[_color#=rgb(" + i2str(section.m_TextColor & 255) + "," +
               i2str(section.m_TextColor >> 8 & 255) + "," + i2str(section.m_TextColor >> 16 & 255) + ")]";
    }
    if (percent) value *= 100.0;
    if (exponent) {
        int power = 0;
        double v = std::fabs(value);
        while (v >= 10.0) v /= 10.0, ++power;
        while (v < 1.0 && v != 0.0) v *= 10.0, --power;
        return mark + reference(section, std::copysign(v, value), percent, false) +
               (power < 0 ? "e-" : "e+") + i2str(std::abs(power));
    }
    const double tolerance = section.m_MaxDecimals <= 3 ? 1e-9 : section.m_MaxDecimals <= 10 ? 1e-11 : 0;
    if (value > 0) value += tolerance;
    if (value < 0) value -= tolerance;

    const int decimals = std::min(section.m_MaxDecimals, 17);
    const str digits = exactDigits(value, decimals);
    str integers = digits.substr(0, digits.size() - static_cast<std::size_t>(decimals));
    str fraction = digits.substr(integers.size());
    const bool zero = digits.find_first_not_of('0') == str::npos;
    if (integers.size() > 64) return mark + reference(section, value, false, true);
    // Below 1, the number has no integer digits, except for an exact zero with decimals.
    if (integers == "0" && !(value == 0.0 && section.m_MaxDecimals > 0)) integers.clear();
    const bool hasDigits = !zero || (value == 0.0 && section.m_MaxDecimals > 0);
    while (static_cast<int>(integers.size()) < section.m_MinIntegerDigits) integers.insert(0, 1, '0');
    if (section.m_GroupSize > 0) {
        const auto size = static_cast<std::size_t>(section.m_GroupSize);
        for (std::size_t i = size; i < integers.size(); i += size + 1)
            integers.insert(integers.size() - i, 1, ',');
    }
    if (!hasDigits && section.m_MinDecimals == 0) fraction.clear();
    while (static_cast<int>(fraction.size()) > section.m_MinDecimals && fraction.back() == '0')
        fraction.pop_back();
    while (static_cast<int>(fraction.size()) < section.m_MinDecimals) fraction += '0';
    const str number = integers + (fraction.empty() ? "" : "." + fraction);

    const bool negative = std::signbit(value);
    const str money = section.m_Currency ? "$$" : "";
    str lead, trail;
    if (section.m_SignLeading) {
        str sign;
        if (!negative && section.m_ExplicitSign) sign = "+";
        if (negative && hasDigits && section.m_Parenthesis) sign = "(";
        if (negative && hasDigits && !section.m_Parenthesis && (section.m_ExplicitSign || mark.empty()))
            sign = "-";
        lead = section.m_CurrencyBeforeSign ? money + sign : sign + money;
        if (section.m_Space && !(lead.empty() && section.m_Prefix.empty())) lead += " ";
        if (negative && section.m_Parenthesis) trail = ")";
    } else {
        str sign;
        if (value < 0.0)
            sign = section.m_Parenthesis ? ")" : "-";
        else if (section.m_ExplicitSign && !negative)
            sign = "+";
        if (negative && section.m_Parenthesis) lead = "(";
        trail = (section.m_Space ? " " : "") + (section.m_CurrencyBeforeSign ? money + sign : sign + money);
    }
    return mark + UnicodeTextToPrintf(section.m_Prefix) + lead + number + trail + (percent ? "%" : "") +
           UnicodeTextToPrintf(section.m_Suffix);
}

lkstr generateSection(std::mt19937_64& random) {
    static const lkstr kPieces[] = {u"0", u"#", u"0", u"#", u"#,##0", u".", u".00", u"0.", u",",
                                    u"$", u"%", u"(", u")", u"+",     u"-", u" ",   u"元", u"x"};
    static const lkstr kStarts[] = {u"", u"", u"", u"e", u"rgb(1,20,255)", u"rgb(0,9,0)e", u"0.000000000000"};
    lkstr text = kStarts[random() % std::size(kStarts)];
    for (auto pieces = random() % 8; pieces > 0; --pieces) text += kPieces[random() % std::size(kPieces)];
    return text;
}

TEST(NumericFormat, RendersAsTheReference) {
    g_c_SCurrency = u"$$";
    std::mt19937_64 random(2);
    for (int i = 0; i < 20000; ++i) {
        const lkstr format = generateSection(random);
        Parser parser;
        parser.Parse(format.c_str());
        ASSERT_EQ(FormatNumber(-1234.5, format.c_str()), parser.Format(-1234.5))
            << UnicodeTextToPrintf(format);
        if (parser.m_Kind != NumericKindNormal) continue;
        for (int j = 0; j < 4; ++j) {
            const double value = generateValue(random);
            if (!std::isfinite(value) || !std::isfinite(value * 1e4)) continue;
            ASSERT_EQ(
                UnicodeTextToPrintf(parser.Format(value)),
                reference(parser.m_Normal, value, parser.m_Normal.m_Percent, parser.m_Normal.m_Exponent))
                << UnicodeTextToPrintf(format) << " of " << value;
        }
        // Regenerating a regenerated format gives the same text, unless the section has parts that are known
        // to be lost: a sign next to a space, all commas but the first, and the rest after a group without
        // decimals.
        const lkstr text = parser.GetFormatText();
        const Analyser& n = parser.m_Normal;
        if (n.m_Space || !n.m_SignLeading || n.m_TextColor != 0 || n.m_Exponent) continue;
        if (std::count(text.begin(), text.end(), u',') > 1) continue;
        if (n.m_GroupSize > 0 && n.m_MaxDecimals == 0 && text.find_last_of(u"0#") + 1 != text.size())
            continue;
        Parser again;
        again.Parse(text.c_str());
        if (again.m_Kind != NumericKindNormal) continue;
        ASSERT_EQ(UnicodeTextToPrintf(again.GetFormatText()), UnicodeTextToPrintf(text))
            << UnicodeTextToPrintf(format);
    }
    g_c_SCurrency.clear();
}

TEST(NumericFormat, IsTheSameOnManyThreadsAndInEveryLocale) {
    // A locale with a decimal comma, compiled here because few machines have one.
    const str locales = testing::TempDir() + "larkspur-locales";
    std::filesystem::create_directories(locales);
    if (std::system(("localedef -i de_DE -f UTF-8 " + locales + "/de_DE.UTF-8").c_str()) == 0) {
        setenv("LOCPATH", locales.c_str(), 1);
        ASSERT_NE(std::setlocale(LC_NUMERIC, "de_DE.UTF-8"), nullptr);
    }
    EXPECT_EQ(FormatNumberFixed2(1.25, 3), u"1.25");
    EXPECT_EQ(lkstr_fromf(1.5), u"1.500000");
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([] {
            Parser parser;
            parser.Parse(u"#,##0.00;;-");
            for (int i = 1; i < 2000; ++i) {
                ASSERT_EQ(lkstr(parser.Format(i + 0.125)), lkstr(FormatNumber(i + 0.125, u"#,##0.00")));
                ASSERT_EQ(FormatNumber(1e20 + i, u"0.0"), u"100000000000000000000.0");
                ASSERT_EQ(FormatNumber(i + 0.5, u"$$").back(), u'整');
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    std::setlocale(LC_NUMERIC, "C");
    std::filesystem::remove_all(locales);
}

}  // namespace
}  // namespace larkspur

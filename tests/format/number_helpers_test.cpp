// Rounding, fixed-width numbers, and texts that depend on the locale.
#include "format/number_helpers.h"

#include <gtest/gtest.h>

#include <clocale>

#include "format/locale_settings.h"

namespace {

std::lconv fakeLocale;

}  // namespace

// Replaces the C library's function, so that the test needs no locale of the system.
extern "C" std::lconv* localeconv() noexcept { return &fakeLocale; }

namespace larkspur {
namespace {

TEST(NumberHelpers, Round) {
    struct Case {
        double value;
        int digits;
        double halfUp, halfEven;
    } const cases[] = {
        {2.5, 0, 3, 2},           {-2.5, 0, -2, -2},    {3.5, 0, 4, 4},         {2.6, 0, 3, 3},
        {-2.6, 0, -3, -2},        {1.25, 1, 1.3, 1.2},  {1.125, 2, 1.13, 1.12}, {1.135, 2, 1.14, 1.14},
        {1234.5, -2, 1200, 1200}, {2.5000001, 0, 3, 2}, {2.51, 0, 3, 2},        {9e15, 0, 9e15, 9e15},
        {-3.5, 0, -3, -3},
    };
    for (const Case& c : cases) {
        EXPECT_DOUBLE_EQ(round45(c.value, c.digits), c.halfUp) << c.value;
        EXPECT_DOUBLE_EQ(round465(c.value, c.digits), c.halfEven) << c.value;
    }
    EXPECT_DOUBLE_EQ(round45(1.005, 2), 1.0);
}

TEST(NumberHelpers, FixedWidthText) {
    EXPECT_EQ(FormatNumberFixed(3.14159, 2), u"3.14");
    EXPECT_EQ(FormatNumberFixed(1e300, 9).size(), 311u);
    struct Stripped {
        double value;
        int digits;
        const lkchar* expected;
    } const stripped[] = {{3.10, 2, u"3.1"}, {3.0, 2, u"3"}, {120, 0, u"12"},
                          {100, 0, u"1"},    {0, 0, u""},    {0, 2, u"0"}};
    for (const Stripped& c : stripped)
        EXPECT_EQ(FormatNumberFixed2(c.value, c.digits), c.expected) << c.value;
    struct Integer {
        int value, width;
        const lkchar* expected;
    } const integers[] = {
        {42, 5, u"00042"}, {123456, 3, u"456"}, {-7, 4, u"00-7"}, {5, 0, u""}, {5, -1, u""}};
    for (const Integer& c : integers) EXPECT_EQ(FormatIntegerFixed(c.value, c.width), c.expected) << c.value;
    struct Hex {
        unsigned int value;
        int width;
        const lkchar* expected;
    } const hex[] = {{0x1A2B, 8, u"00001A2B"},
                     {255, 2, u"FF"},
                     {0, 4, u"0000"},
                     {0x1A2B, 5, u"01A2B"},
                     {0x1A2B, 3, u"A2B"}};
    for (const Hex& c : hex) EXPECT_EQ(FormatIntegerHexFixed(c.value, c.width), c.expected) << c.width;
    EXPECT_EQ(FormatNumberToEnglish(12.5, 2), u"");
}

TEST(LocaleSettings, TakeTheLocalesMonetaryTexts) {
    EXPECT_EQ(g_c_LocalTrueText + g_c_LocalFalseText + g_c_DecimalSep + g_c_ThousandSep + g_c_SCurrency,
              u"是否.,");
    struct Case {
        const char *decimal, *thousands, *currency;
        const lkchar* expected;
    } const cases[] = {
        {",", "\u00A0", "kr", u",|\u00A0|kr"},
        {".", "", "\u00A5", u".||\uFFE5"},
        {".", ",", "CN\u00A5", u".|,|CN\u00A5"},
    };
    for (const Case& c : cases) {
        str texts[] = {c.decimal, c.thousands, c.currency};
        fakeLocale.decimal_point = texts[0].data();
        fakeLocale.mon_thousands_sep = texts[1].data();
        fakeLocale.currency_symbol = texts[2].data();
        InitLocaleSettings();
        EXPECT_EQ(g_c_DecimalSep + u"|" + g_c_ThousandSep + u"|" + g_c_SCurrency, c.expected) << c.currency;
    }
    UninitLocaleSettings();
    EXPECT_EQ(g_c_DateSep + g_c_TimeSep + g_c_SCurrency, u"-:CN\u00A5");
}

}  // namespace
}  // namespace larkspur

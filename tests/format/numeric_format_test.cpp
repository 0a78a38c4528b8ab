#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "larkspur.h"

namespace larkspur {
namespace {

using Parser = ClkNumericFormatParser;
using Analyser = Parser::ClkFormatAnalyser;

str utf8(const lkstr& text) { return UnicodeTextToPrintf(text); }

// Shows "￥" for a "$" while it lives.
struct YuanCurrency {
    YuanCurrency() { g_c_SCurrency = u"￥"; }
    ~YuanCurrency() { g_c_SCurrency.clear(); }
};

// The fields of a section as text: what differs from max 0, min 0, integers 1, no flags.
str describe(const Analyser& section) {
    str text = i2str(section.m_MinIntegerDigits) + "." + i2str(section.m_MinDecimals) + "." +
               i2str(section.m_MaxDecimals);
    if (section.m_GroupSize != 0) text += " group" + i2str(section.m_GroupSize);
    if (section.m_ExplicitSign) text += " sign";
    if (!section.m_SignLeading) text += " trailing";
    if (section.m_Parenthesis) text += " paren";
    if (section.m_Currency) text += section.m_CurrencyBeforeSign ? " $sign" : " sign$";
    if (section.m_Percent) text += " %";
    if (section.m_Space) text += " space";
    if (section.m_Exponent) text += " e";
    if (section.m_TextColor != 0) text += " colour" + std::to_string(section.m_TextColor);
    return text + " [" + utf8(section.m_Prefix) + "|" + utf8(section.m_Suffix) + "]";
}

TEST(NumericFormat, SectionsParseToFields) {
    const struct {
        const lkchar* section;
        const char* fields;
    } cases[] = {
        {u"", "1.0.9 [|]"},
        {u"#,##0.00", "1.2.2 group3 [|]"},
        {u"#", "0.0.0 [|]"},
        {u"0.0#", "1.1.2 [|]"},
        {u"0,000", "4.0.0 group3 [|]"},
        {u"#,###,##0", "1.0.0 group7 [|]"},
        {u"0.00,", "1.2.2 group3 [|]"},
        {u"#,##0元", "1.0.0 group4 [|元]"},
        {u"+0.00", "1.2.2 sign [|]"},
        {u"0.00-", "1.2.2 trailing [|]"},
        {u"-$0.00", "1.2.2 sign$ [|]"},
        {u"($0.00)", "1.2.2 paren sign$ [|]"},
        {u"$(0.00)", "1.2.2 paren $sign [|]"},
        {u"0.00$", "1.2.2 trailing $sign [|]"},
        {u"(0.00$", "1.2.2 trailing paren sign$ [|]"},
        {u"￥0.00 元", "1.2.2 space [￥| 元]"},
        {u"元", "0.0.0 [元|]"},
        {u"rgb(255,0,0)", "0.0.0 colour255 [|]"},
        {u"rgb(1,2,3)-0.00", "1.2.2 sign colour197121 [|]"},
        {u"rgb(0,0,0)-0", "1.0.0 [|]"},
        {u"rgb(256,0,0)0.00", "3.2.2 group5 paren [rgb|]"},
        {u"rgb(1,2,)0", "1.0.0 group4 paren [rgb|]"},
        {u"e0.0吨%", "1.1.1 % e [|]"},
        {u"rgb(1,0,0)e0", "1.0.0 e colour1 [|]"},
    };
    for (const auto& c : cases) {
        Analyser section;
        section.m_MaxDecimals = 77;
        section.Parse(c.section);
        EXPECT_EQ(describe(section), c.fields) << utf8(c.section);
    }
}

TEST(NumericFormat, TextsParseToKindsAndSections) {
    const struct {
        const lkchar* text;
        const char* forms;  // kind, then the sections
    } cases[] = {
        {nullptr, "0 1.0.9 [|]"},
        {u"0;(0)", "0 1.0.0 [|] neg 1.0.0 paren [|]"},
        {u"0;;", "0 1.0.0 [|]"},
        {u"0;;无", "0 1.0.0 [|] zero 0.0.0 [无|]"},
        {u"0;x;", "0 1.0.0 [|] neg 0.0.0 [x|]"},
        {u";0", "0 1.0.9 [|] neg 1.0.0 [|]"},
        {u"0;0;0;", "0 1.0.0 [|] neg 1.0.0 [|] zero 1.0.0 [|;]"},
        {u"0;0;0;0", "0 1.0.0 [|] neg 1.0.0 [|] zero 2.0.0 [|]"},
        {u"$$", "2 1.0.9 [|]"},
        {u"￥$$0", "0 1.0.0 $sign [￥|]"},
        {u"$$$$$", "1 1.0.9 [|]"},
        {u"0$$$$$0", "1 2.0.0 [|]"},
        {u"{}", "4 1.0.9 [|]"},
        {u"{", "0 0.0.0 [{|]"},
    };
    Parser parser;
    for (const auto& c : cases) {
        parser.Parse(u"1;2;3");  // leaves nothing of it
        parser.Parse(c.text);
        str forms = i2str(parser.m_Kind) + " " + describe(parser.m_Normal);
        if (parser.m_Negative) forms += " neg " + describe(*parser.m_Negative);
        if (parser.m_Zero) forms += " zero " + describe(*parser.m_Zero);
        EXPECT_EQ(forms, c.forms);
        EXPECT_EQ(parser.m_IntEnum != nullptr, parser.m_Kind == NumericKindIntEnum);
    }
}

// What single sections do is documented by the reference in numeric_reference_test.cpp; here are examples of it,
// and what it leaves out.
TEST(NumericFormat, RendersNumbers) {
    const YuanCurrency currency;
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const struct {
        const lkchar* format;
        double value;
        const lkchar* expected;
    } cases[] = {
        {u"#,##0.00", 1234567.891, u"1,234,567.89"},
        {u"0.00", 1.005, u"1.01"},
        {u"0", 2.5, u"3"},
        {u"0", -0.4, u"0"},
        {u"#", 0, u""},
        {u"#.##", 0, u"0"},
        {u"#.##", 0.001, u""},
        {u"0.00", -0.001, u"0.00"},
        {u"0.0", -0.0, u"-0.0"},
        {u"(0.00)", -0.001, u"0.00)"},
        {u"0.00-", -0.001, u"0.00-"},
        {u"#,#0", 1234567, u"1,23,45,67"},
        {u"#,##0元", 1234567, u"123,4567元"},
        {u"$#,##0.00", -1234.5, u"￥-1,234.50"},
        {u"$ 0.00", -5, u"￥- 5.00"},
        {u"0.00 元", -5, u"- 5.00 元"},
        {u"rgb(255,0,0)0.00", -5, u"[_color#=rgb(255,0,0)]5.00"},
        {u"e0.00", 9.999, u"10.00e+0"},
        {u"e0.0%", 5, u"500.0%e+2"},
        {u"rgb(1,2,3)e0.0", 5, u"[_color#=rgb(1,2,3)][_color#=rgb(1,2,3)]5.0e+0"},
        {u"", 0.3333333333333333, u"0.333333333"},
        {u"0.00", 1e+70, u"1.00e+70"},
        {u"0.00%", 1e+63, u"1.00e+65"},
        {u"rgb(1,2,3)0", 1e+70, u"[_color#=rgb(1,2,3)][_color#=rgb(1,2,3)][_color#=rgb(1,2,3)]1e+70"},
        {u"0.00000000000000000000", 0.1, u"0.10000000000000001000"},
        {u"0.00", kInfinity, u"0.inf"},
        {u"e0", -kInfinity, u"0.-infe+0"},
        {u"0;(0)", -5, u"(5)"},
        {u"0;0.00", 0, u"0"},
        {u"+0;-0;0", 0, u"0"},
        {u"$0.00;-$0.00;免费", 0, u"免费"},
        {u"0.00;-0.00;零", 0.005, u"零"},
        {u"0.00;-0.00;零", 0.00501, u"0.01"},
        {u"0.00;-0.0;零", -0.04, u"零"},
        {u"0.00;-0.0;零", -0.05, u"-0.1"},
        {u"0.00%;;无", 0.00004, u"无"},
        {u"0.00%;;无", 0.0001, u"0.01%"},
        {u"0;;0.00", 0.3, u"0.00"},
        {u"0.00;[0.00];-", 0, u""},
        {u"{1=一,2=二}", 2.9, u"二"},
        {u"{1=一,0=〇}", -0.5, u"〇"},
        {u"{1=一}", 1e300, u"2147483647"},
        {u"{1=a,,2=b}", 0, u"b"},
        {u"{=z,1=a=b,x}", 1, u"a=b"},
        {u"{-1=负}", -1, u"负"},
        {u"{}", 7, u"7"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(utf8(FormatNumber(c.value, c.format)), utf8(c.expected))
            << utf8(c.format) << " of " << c.value;
    }
}

TEST(NumericFormat, SeparatorsOfSeveralUnitsAreWrittenWhole) {
    g_c_ThousandSep = u"::";
    g_c_DecimalSep = u"==";
    EXPECT_EQ(FormatNumber(1234567.5, u"#,##0.0"), u"1::234::567==5");
    EXPECT_EQ(FormatNumber(1234567, u"#,##0.#"), u"1::234::567");
    g_c_ThousandSep = u",";
    g_c_DecimalSep = u".";
}

TEST(NumericFormat, LongTextComesWholeFromTheParserAndCutIntoABuffer) {
    const lkstr format = lkstr(300, u'x') + u"0.0" + lkstr(300, u'y');
    Parser parser;
    parser.Parse(format.c_str());
    EXPECT_EQ(parser.Format(1.5), lkstr(300, u'x') + u"1.5" + lkstr(300, u'y'));
    lkchar buffer[129];
    buffer[128] = u'!';
    parser.m_Normal.Format(1.5, buffer);
    EXPECT_EQ(lkstr(buffer), lkstr(127, u'x'));
    EXPECT_EQ(buffer[128], u'!');
    // Separators alone make it long.
    EXPECT_EQ(FormatNumber(9.5e63, u"0,0.00").size(), 130u);
}

TEST(NumericFormat, ChineseNumerals) {
    const struct {
        const lkchar* format;
        double value;
        const lkchar* expected;
    } cases[] = {
        {u"$$", 0.005, u"壹分"},
        {u"$$", -0.005, u"负壹分"},
        {u"$$", 0.55, u"伍角伍分"},
        {u"$$", 1.05, u"壹元零伍分"},
        {u"$$", 1.995, u"贰元整"},
        {u"$$", 2.675, u"贰元陆角捌分"},
        {u"$$", 1010, u"壹仟零壹拾元整"},
        {u"$$", 100001, u"壹拾万零壹元整"},
        {u"$$", 10000001, u"壹仟万零壹元整"},
        {u"$$", 100000001, u"壹亿零壹元整"},
        {u"$$", 100010000, u"壹亿零壹万元整"},
        {u"$$", -1234.56, u"负壹仟贰佰叁拾肆元伍角陆分"},
        {u"$$", 123456789012.34, u"壹仟贰佰叁拾肆亿伍仟陆佰柒拾捌万玖仟零壹拾贰元叁角肆分"},
        {u"$$", 1234567890123, u"壹"},
        {u"$$", -9876543210987654, u"负玖"},
        {u"$$0", 1.5, u"贰"},
        {u"$$0", 2.5, u"贰"},
        {u"$$0", -0.5, u"零"},
        {u"$$0.00", 1234.56, u"壹仟贰佰叁拾伍"},
        {u"$$0.00", -0.3, u"负零"},
        {u"$$0.00", -0.001, u"零"},
        {u"$$￥0元", -12, u"￥负壹拾贰元"},
        {u"$$￥0元", -1234567890123, u"￥负壹"},
        {u"$$$$$", -12.5, u"壹贰伍"},
        {u"#,##0.00$$$$$", 1234.5, u"壹贰叁肆伍零"},
        {u"000$$$$$", 7, u"零零柒"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(utf8(FormatNumber(c.value, c.format)), utf8(c.expected))
            << utf8(c.format) << " of " << c.value;
    }
    EXPECT_EQ(FormatNumberToBigHZ(1234.56, 2), u"壹仟贰佰叁拾伍");
    EXPECT_EQ(FormatNumberToBigHZ(-0.3, 0), u"零");
    EXPECT_EQ(FormatNumberToBigHZAmount(1234.56), u"壹仟贰佰叁拾肆元伍角陆分");
    for (const double value : {1e17, -1e300, HUGE_VAL, -HUGE_VAL, std::nan("")}) {
        for (const lkchar* format : {u"$$", u"$$0", u"0$$$$$", u"{1=a}", u"e0", u"0.00-", u"0;(0);-"}) {
            FormatNumber(value, format);  // some text and no fault
        }
    }
}

TEST(NumericFormat, RegeneratesFormatTextAndSpreadsheetFormat) {
    const YuanCurrency currency;
    const struct {
        const lkchar *parsed, *text, *xls;
    } cases[] = {
        {u"", u"0.#########", u""},
        {u"#", u"#", u"#"},
        {u"#,##0.00", u"#,##0.00", u"#,##0.00"},
        {u"#,###", u"#,###", u"#,###"},
        {u"0000000,000", u"0,000,000,000", u"0,000,000,000"},
        {u"0.00+", u"0.00+", u"0.00"},
        {u"-0.00", u"0.00", u"0.00"},
        {u"$#,##0.00", u"$#,##0.00", u"￥#,##0.00"},
        {u"-$0.00", u"$0.00", u"￥0.00"},
        {u"($0.00)", u"($0.00)", u"￥0.00;(￥0.00);￥0.00"},
        {u"0.00$", u"0.00$-", u"0.00￥"},
        {u"0.00 $", u"0.00 ", u"0.00￥"},
        {u"0.00 元", u" 0.00 元", u"0.00"},
        {u"rgb(255,0,1)0.00", u"rgb(255,0,1)0.00", u"0.00"},
        {u"e0.0吨", u"e0.0", u"0.0"},
        {u"0;(0)", u"0;(0)", u"0;-0;0"},
        {u"0;(0);零", u"0;(0);零#", u"0;-0;#"},
        {u"0;;零", u"0;;零#", u"0;-0;#"},
        {u";-0.0", u"0.#########;0.0", u"0.#########;-0.0;"},
        {u"$$0.00", u"$$0.00", u""},
        {u"0.00$$$$$", u"$$$$$0.00", u""},
        {u"{2=b,1=a,1=c}", u"{1=c,2=b}", u""},
    };
    for (const auto& c : cases) {
        Parser parser;
        parser.Parse(c.parsed);
        EXPECT_EQ(utf8(parser.GetFormatText()), utf8(c.text)) << utf8(c.parsed);
        EXPECT_EQ(utf8(parser.GetExportXlsFormatText()), utf8(c.xls)) << utf8(c.parsed);
    }
}

TEST(NumericFormat, EnumerationsStandInBraces) {
    for (const lkchar* bad : {static_cast<const lkchar*>(nullptr), u"", u"{", u"{}", u"1=a}", u"{1=a"}) {
        EXPECT_EQ(Parser::ClkIntEnumAnalyser(bad).GetFormatText(), u"{}") << UnicodeTextToPrintf(bad);
    }
    EXPECT_EQ(Parser::ClkIntEnumAnalyser(u"{=}").GetFormatText(), u"{0=}");
}

}  // namespace
}  // namespace larkspur

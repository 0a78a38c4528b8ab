#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "larkspur.h"
#include "tests/cases.h"
#include "tests/source_directory.h"

namespace larkspur {
namespace {

using Parser = ClkNumericFormatParser;
using Analyser = Parser::ClkFormatAnalyser;

str utf8(const lkstr& text) { return UnicodeTextToPrintf(text); }
lkstr utf16(const str& text) { return Utf8ToUnicode(text.data(), static_cast<int>(text.size())); }

// Shows "￥" for "$" during its lifetime.
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

str fieldsOf(const lkstr& section) {
    Analyser analyser;
    analyser.m_MaxDecimals = 77;
    analyser.Parse(section.c_str());
    return describe(analyser);
}

str sectionsOf(const lkchar* text) {
    Parser parser;
    parser.Parse(u"1;2;3");  // must not affect the next text
    parser.Parse(text);
    EXPECT_EQ(parser.m_IntEnum != nullptr, parser.m_Kind == NumericKindIntEnum);
    str forms = i2str(parser.m_Kind) + " " + describe(parser.m_Normal);
    if (parser.m_Negative) forms += " neg " + describe(*parser.m_Negative);
    if (parser.m_Zero) forms += " zero " + describe(*parser.m_Zero);
    return forms;
}

str writtenAs(const lkstr& text) {
    Parser parser;
    parser.Parse(text.c_str());
    return utf8(parser.GetFormatText()) + " | " + utf8(parser.GetExportXlsFormatText());
}

// "VALUE by FORMAT". What single sections do is documented by the reference in numeric_reference_test.cpp;
// the cases are examples of it, and what it leaves out.
str shown(const str& line) {
    const str format = line.substr(line.find(" by ") + 4);
    return utf8(FormatNumber(std::strtod(line.c_str(), nullptr), utf16(format).c_str()));
}

TEST(NumericFormat, ParsesShowsAndIsWrittenAgain) {
    const YuanCurrency currency;
    qbsvrl6::expectCases(QBSVR_SOURCE_DIR "/tests/format/cases/numeric_formats.txt",
                         [](const qbsvrl6::TextCase& one, const std::string& view) {
                             return qbsvrl6::eachLine(one, [&](const std::string& line) {
                                 const lkstr text = utf16(line);
                                 return view == "fields"     ? fieldsOf(text)
                                        : view == "sections" ? sectionsOf(text.c_str())
                                        : view == "written"  ? writtenAs(text)
                                                             : shown(line);
                             });
                         });
    EXPECT_EQ(sectionsOf(nullptr), "0 1.0.9 [|]");
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
    // Only the separators make it long.
    EXPECT_EQ(FormatNumber(9.5e63, u"0,0.00").size(), 130u);
}

TEST(NumericFormat, ChineseNumerals) {
    EXPECT_EQ(FormatNumberToBigHZ(1234.56, 2), u"壹仟贰佰叁拾伍");
    EXPECT_EQ(FormatNumberToBigHZ(-0.3, 0), u"零");
    EXPECT_EQ(FormatNumberToBigHZAmount(1234.56), u"壹仟贰佰叁拾肆元伍角陆分");
    for (const double value : {1e17, -1e300, HUGE_VAL, -HUGE_VAL, std::nan("")}) {
        for (const lkchar* format : {u"$$", u"$$0", u"0$$$$$", u"{1=a}", u"e0", u"0.00-", u"0;(0);-"}) {
            FormatNumber(value, format);  // any text; must not crash
        }
    }
}

TEST(NumericFormat, EnumerationsAreInBraces) {
    for (const lkchar* bad : {static_cast<const lkchar*>(nullptr), u"", u"{", u"{}", u"1=a}", u"{1=a"}) {
        EXPECT_EQ(Parser::ClkIntEnumAnalyser(bad).GetFormatText(), u"{}") << UnicodeTextToPrintf(bad);
    }
    EXPECT_EQ(Parser::ClkIntEnumAnalyser(u"{=}").GetFormatText(), u"{0=}");
}

}  // namespace
}  // namespace larkspur

#include "common/text.h"

#include <gtest/gtest.h>

namespace larkspur {
namespace {

TEST(Text, WidensWithTheSignAndNarrowsToTheLowBits) {
    const lkstr widened = lkstr_fromascii("a\xE4\x7F\x80");
    EXPECT_EQ(widened, (lkstr{u'a', 0xFFE4, 0x7F, 0xFF80}));
    EXPECT_EQ(lkstr_toascii(widened.c_str()), "a\xE4\x7F\x80");
    EXPECT_EQ(wstr_fromascii("\xE4")[0], static_cast<wchar_t>(0xFFFFFFE4));
    EXPECT_EQ(lkstr_toascii(u"\u4E2D"), "\x2D");
    EXPECT_EQ(wstr_toascii(L"\x10041z"), "Az");
    EXPECT_EQ(lkstr_fromw(L"\x1F600\x10000x"), (lkstr{0xF600, 0, u'x'}));
    EXPECT_EQ(lkstr_tow(u"\U0001F600"), (wstr{0xD83D, 0xDE00}));
}

TEST(Text, CountsBelowOneAreEmptyWithAnOutArgumentAndTheWholeTextWithout) {
    struct Case {
        int n;
        lkstr out, result;
    } const cases[] = {{-1, u"", u"ab"},
                       {0, u"", u"ab"},
                       {1, u"a", u"a"},
                       {4, {u'a', u'b', 0, u'c'}, {u'a', u'b', 0, u'c'}}};
    for (const Case& c : cases) {
        lkstr out = u"old";
        AsciiStr2LKStr("ab\0c", c.n, out);
        EXPECT_EQ(out, c.out) << c.n;
        EXPECT_EQ(AsciiStr2LKStr("ab\0c", c.n), c.result) << c.n;

        const str outBytes(c.out.begin(), c.out.end()), resultBytes(c.result.begin(), c.result.end());
        str bytes = "old";
        LKStr2AsciiStr(u"ab\0c", c.n, bytes);
        EXPECT_EQ(bytes, outBytes) << c.n;
        EXPECT_EQ(LKStr2AsciiStr(u"ab\0c", c.n), resultBytes) << c.n;
        bytes = "old";
        WStr2AsciiStr(L"ab\0c", c.n, bytes);
        EXPECT_EQ(bytes, outBytes) << c.n;
        EXPECT_EQ(WStr2AsciiStr(L"ab\0c", c.n), resultBytes) << c.n;

        wstr wide = L"old";
        AsciiStr2WStr("ab\0c", c.n, wide);
        EXPECT_EQ(wide, wstr(c.out.begin(), c.out.end())) << c.n;
        EXPECT_EQ(AsciiStr2WStr("ab\0c", c.n), wstr(c.result.begin(), c.result.end())) << c.n;
    }
    EXPECT_EQ(AsciiStr2LKStr(nullptr, 5), u"");
    EXPECT_EQ(LKStr2AsciiStr(nullptr, 5), "");
    EXPECT_EQ(lkstr_toascii(u"ab", 0), "");
}

TEST(Text, AsciiTest) {
    EXPECT_TRUE(LKStrIsAscii(nullptr, 3));
    EXPECT_TRUE(LKStrIsAscii(u"", 0));
    EXPECT_FALSE(LKStrIsAscii(u"a\u0080", 0));
    EXPECT_TRUE(LKStrIsAscii(u"a\u0080", 1));
}

TEST(Text, AppendsAndCopies) {
    lkstr text = u"x";
    lkstr_append(text, "");
    lkstr_append(text, "a\0b", 3);
    lkstr_append(text, L"\x12345", 1);
    lkstr_append(text, "zz", -1);
    EXPECT_EQ(text, (lkstr{u'x', u'a', 0, u'b', 0x2345}));

    lkchar buffer[8] = u"#######";
    lkstr_cpy(buffer, text);
    EXPECT_EQ(lkstr(buffer, 7), (lkstr{u'x', u'a', 0, u'b', 0x2345, 0, u'#'}));
    lkstr_cpy(buffer, "\xFF");
    EXPECT_EQ(lkstr(buffer, 3), (lkstr{0xFFFF, 0, 0}));
    lkstr_assign(text, "new");
    EXPECT_EQ(text, u"new");
}

TEST(Text, ComparesWithAsciiLiterals) {
    EXPECT_TRUE(lkstr(u"a\0b", 3) == "a");
    EXPECT_TRUE(lkstr(u"ab") != "a");
    EXPECT_TRUE(lkstr() == "");
    // A byte of 0x80 or more compares as negative, so not even its widened form equals it.
    EXPECT_FALSE(lkstr_fromascii("\xE4") == "\xE4");
    EXPECT_FALSE(lkstr(u"\u00E4") == "\xE4");
}

TEST(Text, OperatorsJoin) {
    lkstr text = u"a";
    EXPECT_EQ(text + "b", u"ab");
    EXPECT_EQ(text + L"\x1F600", (lkstr{u'a', 0xF600}));
    EXPECT_EQ(text += "c", u"ac");
    EXPECT_EQ(text += L"d", u"acd");
}

TEST(Text, ConsoleTextIsUtf8UnitByUnit) {
    EXPECT_EQ(UnicodeTextToPrintf(u"é中"), "é中");
    EXPECT_EQ(UnicodeTextToPrintf(u"\U0001F600"), "\xED\xA0\xBD\xED\xB8\x80");
    EXPECT_EQ(UnicodeTextToPrintf(lkstr(u"a\0b", 3)), str("a\0b", 3));
    EXPECT_EQ(UnicodeTextToPrintf(u"a\0b"), "a");
    EXPECT_EQ(UnicodeTextToPrintf(wstr(L"a\0b", 3)), "a");
    EXPECT_EQ(UnicodeTextToPrintf(L"\x14E2D"), "中");
}

}  // namespace
}  // namespace larkspur

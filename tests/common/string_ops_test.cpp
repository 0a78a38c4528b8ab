#include "common/string_ops.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <stdexcept>

namespace larkspur {
namespace {

int Sign(int value) { return (value > 0) - (value < 0); }

TEST(StringOps, ComparesWholeTexts) {
    struct Case {
        lkstr p, q;
        int plain, folded;
    } const cases[] = {
        {u"", u"", 0, 0},
        {u"abc", u"abd", -1, -1},
        {u"amp;x", u"amp;", 'x', 'x'},
        {u"amp;", u"amp;x", -'x', -'x'},
        {u"ABC", u"abc", 'A' - 'a', 0},
        {u"B", u"a", 'B' - 'a', 1},
    };
    for (const Case& c : cases) {
        const lkchar *p = c.p.c_str(), *q = c.q.c_str();
        const str narrow = lkstr_toascii(q);
        EXPECT_EQ(lkstr_cmp(p, q), c.plain) << narrow;
        EXPECT_EQ(lkstr_cmp(p, narrow.c_str()), c.plain) << narrow;
        EXPECT_EQ(lkstr_cmp(c.p, c.q), c.plain) << narrow;
        EXPECT_EQ(lkstr_icmp(p, q), c.folded) << narrow;
        EXPECT_EQ(lkstr_icmp(c.p, c.q), c.folded) << narrow;
        EXPECT_EQ(Sign(lkstr_icmp(p, narrow.c_str())), Sign(c.folded)) << narrow;
    }
    EXPECT_EQ(lkstr_icmp(u"x", "A"), 1);     // a difference inside both texts: only its sign
    EXPECT_EQ(lkstr_icmp(u"xY", "X"), 'y');  // at the end of one: the folded difference
    EXPECT_EQ(lkstr_cmp(u"\uFFE4", "\xE4"), 0);
    EXPECT_EQ(lkstr_cmp(u"\u00E4", "\xE4"), 0xE4 - 0xFFE4);
    EXPECT_LT(lkstr_cmp(lkstr(u"a\0a", 3), lkstr(u"a\0b", 3)), 0);
    EXPECT_EQ(lkstr_cmp(nullptr, u"b"), -'b');
}

TEST(StringOps, ComparesCountedUnits) {
    EXPECT_EQ(lkstr_ncmp(u"a", u"b", 0), 0);
    EXPECT_EQ(lkstr_ncmp(u"a\0b", u"a\0c", 3), -1);
    EXPECT_EQ(lkstr_ncmp(u"abX", "abY", 2), 0);
    EXPECT_EQ(lkstr_nicmp(u"a\0Z", u"A\0y", 3), 1);
    EXPECT_EQ(lkstr_nicmp(u"aZ", "Ay", 2), 1);
    EXPECT_TRUE(lkstr_eq(u"a", u"a"));
    EXPECT_FALSE(lkstr_eq(lkstr(u"a\0", 2), u"a"));
    EXPECT_TRUE(lkstr_ieq(u"Ab", u"aB"));
    EXPECT_FALSE(lkstr_ieq(lkstr(u"a\0", 2), u"a"));
}

TEST(StringOps, Searches) {
    const lkchar text[] = u"abcABCabc";
    struct Case {
        const char* name;
        const lkchar* found;
        std::ptrdiff_t expected;
    } const cases[] = {
        {"sstr", lkstr_sstr(text, u"cA"), 2},
        {"sstr narrow", lkstr_sstr(text, "BC"), 4},
        {"sstr none", lkstr_sstr(text, u"x"), -1},
        {"sstr of nothing", lkstr_sstr(text, u""), 0},
        {"charat", lkstr_charat(text, u'c'), 2},
        {"charat of zero", lkstr_charat(text, 0), -1},
        {"find", StringFind(text, 9, u"BC"), 4},
        {"find at the end", StringFind(text, 0, u"Cabc"), 5},
        {"find ending exactly at n", StringFind(text, 9, u"Cabc"), -1},
        {"find in less", StringFind(text, 6, u"Cabc"), -1},
        {"find of nothing", StringFind(text, 1, u""), 0},
        {"find of null", StringFind(text, 9, nullptr), -1},
        {"find folded", StringFindI(text + 1, 0, u"ABC"), 3},
        {"reverse", StringReverseFind(text, text + 9, u"abc"), 6},
        {"reverse short of the end", StringReverseFind(text, text + 8, u"abc"), 0},
        {"reverse of nothing", StringReverseFind(text, text + 9, u""), 9},
        {"reverse too long", StringReverseFind(text, text + 2, u"abc"), -1},
        {"reverse folded", StringReverseFindI(text, text + 8, u"abc"), 3},
    };
    for (const Case& c : cases) EXPECT_EQ(c.found == nullptr ? -1 : c.found - text, c.expected) << c.name;
    EXPECT_EQ(lkstr_sstr(u"", u""), nullptr);
}

TEST(StringOps, ReadsAndWritesNumbers) {
    struct Case {
        const lkchar* text;
        int integer;
        double number;
    } const cases[] = {
        {u"", 0, 0},           {u"-", 0, 0},
        {u"12abc", 12, 12},    {u"abc", 0, 0},
        {u"1.5", 85, 1.5},     {u"-.5", 15, -0.5},
        {u"-7", -7, -7},       {u"4294967297", 1, 4294967297.0},
        {u"1.2.3", 8183, 1.2}, {u"-2147483648", INT_MIN, -2147483648.0},
        {u"1e5", 1, 1},        {u" 1", 0, 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(lkstr_toi(c.text), c.integer) << UnicodeTextToPrintf(c.text);
        EXPECT_DOUBLE_EQ(lkstr_tof(c.text), c.number) << UnicodeTextToPrintf(c.text);
    }
    EXPECT_EQ(lkstr_fromi(INT_MIN), u"-2147483648");
    EXPECT_EQ(i2wstr(-5), L"-5");
    EXPECT_EQ(lkstr_fromf(-1.5), u"-1.500000");
    EXPECT_EQ(lkstr_fromf(std::numeric_limits<double>::max()).size(), 316u);
}

TEST(StringOps, TrimsBlanksOnly) {
    struct Case {
        str text, left, right, both;
    } const cases[] = {
        {"  a b  ", "a b  ", "  a b", "a b"},
        {"\t a\n", "\t a\n", "\t a\n", "\t a\n"},
        {"   ", "   ", "", ""},
        {"", "", "", ""},
    };
    for (const Case& c : cases) {
        str left = c.text, right = c.text, both = c.text;
        StrTrimLeft(left);
        StrTrimRight(right);
        StringTrim(both);
        EXPECT_EQ(left, c.left);
        EXPECT_EQ(right, c.right);
        EXPECT_EQ(both, c.both);
        lkstr wide = lkstr_fromascii(c.text.c_str());
        StringTrim(wide);
        EXPECT_EQ(lkstr_toascii(wide.c_str()), c.both);
    }
}

TEST(StringOps, Replaces) {
    struct Case {
        lkstr text;
        const lkchar *oldText, *newText;
        lkstr expected;
    } const cases[] = {
        {u"a\\b\\c", u"\\", u"/", u"a/b/c"},
        {u"abc", u"", u"x", u"xaxbxc"},
        {u"abc", u"x", u"y", u"abc"},
        {u"abab", u"ab", u"abab", u"abababab"},
        {u"abc", u"abc", u"", u""},
        {u"abc", nullptr, u"x", u"abc"},
        {u"abc", u"a", nullptr, u"abc"},
        {u"", u"", u"x", u""},
        {lkstr(u"a\0a", 3), u"a", u"b", lkstr(u"b\0b", 3)},
    };
    for (const Case& c : cases) {
        lkstr text = c.text;
        StringReplace(text, c.oldText, c.newText);
        EXPECT_EQ(text, c.expected) << UnicodeTextToPrintf(c.text);
    }
}

TEST(StringOps, ReplacingOverlappingHitsRaises) {
    lkstr text = u"aaa";
    try {
        StringReplace(text, u"aa", u"b");
        FAIL();
    } catch (const std::length_error& e) {
        EXPECT_STREQ(e.what(), "basic_string::append");
    }
    EXPECT_EQ(text, u"aaa");
}

TEST(StringOps, Splits) {
    using List = std::vector<lkstr>;
    struct Case {
        const lkchar *text, *separators;
        List expected;
    } const cases[] = {
        {u"a,b;c", u",;", {u"a", u"b", u"c"}},
        {u"a,,b", u",", {u"a", u",b"}},
        {u"a,,,b", u",", {u"a", u",", u"b"}},
        {u",,a", u",", {u"a"}},
        {u"a,", u",", {u"a"}},
        {u"a,,", u",", {u"a", u","}},
        {u",,", u",", {}},
        {u",a,b", u"", {u",a,b"}},
        {nullptr, u",", {}},
    };
    for (const Case& c : cases) {
        List out = {u"kept"}, expected = c.expected;
        expected.insert(expected.begin(), u"kept");
        SplitText(c.text, c.separators, out);
        EXPECT_EQ(out, expected) << UnicodeTextToPrintf(c.text);
        if (lkstr_len(c.separators) != 1) continue;
        List byUnit = {u"kept"};
        SplitText(c.text, c.separators[0], byUnit);
        EXPECT_EQ(byUnit, expected) << UnicodeTextToPrintf(c.text);
    }
    std::vector<str> narrow;
    SplitText("a b", ' ', narrow);
    SplitText("c\xE4 d", "\xE4 ", narrow);
    EXPECT_EQ(narrow, (std::vector<str>{"a", "b", "c", " d"}));

    List lines;
    SplitTextLine(u"a\r\n\r\nb\n\rc\n", lines);
    EXPECT_EQ(lines, (List{u"a", u"", u"b", u"", u"c"}));
}

TEST(StringOps, SplitsNamesAndValues) {
    struct Case {
        const lkchar* text;
        bool found;
        lkstr name, value;
    } const cases[] = {
        {u"a = b c ", true, u"a", u"b c"}, {u"a=b=c", true, u"b", u"c"}, {u"a==b", true, u"a", u"=b"},
        {u"=x", true, u"", u"x"},          {u"a=", true, u"a", u""},     {u"a==", true, u"a", u"="},
        {u"abc", false, u"n", u"v"},       {u"", false, u"n", u"v"},     {nullptr, false, u"n", u"v"},
    };
    for (const Case& c : cases) {
        lkstr name = u"n", value = u"v";
        EXPECT_EQ(SplitNameValueText(c.text, name, value), c.found) << UnicodeTextToPrintf(c.text);
        EXPECT_EQ(name, c.name) << UnicodeTextToPrintf(c.text);
        EXPECT_EQ(value, c.value) << UnicodeTextToPrintf(c.text);
    }
    lkstr first = u"f", second = u"s";
    SplitTextToTwo(u" k : v:w ", u':', first, second);
    EXPECT_EQ(first + u"|" + second, u"k|v:w");
    SplitTextToTwo(u" k ", u':', first, second);
    EXPECT_EQ(first + u"|" + second, u"k|");
    SplitTextToTwo(nullptr, u':', first, second);
    EXPECT_EQ(first + u"|" + second, u"|");
}

TEST(StringOps, WritesHexadecimal) {
    EXPECT_EQ(HexCharToByte(u'9'), 9);
    EXPECT_EQ(HexCharToByte(u'F'), 15);
    EXPECT_EQ(HexCharToByte(u'f'), 47);
    lkchar buffer[10] = u"#########";
    ByteToHex(0xA5, buffer);
    EXPECT_EQ(lkstr(buffer), u"#A5######");
    WordToHex(0x12AF, buffer);
    EXPECT_EQ(lkstr(buffer), u"12AF");
    DWordToHex(0x0089ABCD, 4, buffer);
    EXPECT_EQ(lkstr(buffer), u"0089ABCD#");
    DWordToHex(1, 0, buffer);
    EXPECT_EQ(lkstr(buffer), u"0089ABCD#");
}

TEST(StringOps, Formats) {
    const lkstr name = u"中";
    EXPECT_EQ(StringFormat("%s-%d-%f", name, -3, 0.5), u"中--3-0.500000");
    EXPECT_EQ(StringFormat(u"%.3d %.2f %.4x|%.d", 7, 3.14159, 0x1Au, 5), u"007 3.14 001A|");
    EXPECT_EQ(StringFormat("\xE4%%%d", 7), (lkstr{0xFFE4, u'%', u'%', u'7'}));
    EXPECT_EQ(StringFormat("100%%d", 7), u"100%7");
    EXPECT_EQ(StringFormat("a%q"), u"StringFormat 'a%q' failed ");
    EXPECT_EQ(StringFormat(u"%5d %d", 1, 2), u"StringFormat '%5d %d' failed d 1");
    EXPECT_EQ(StringFormat("%d%", 1), u"StringFormat '%d%' failed ");
    EXPECT_EQ(StringFormat("%.12", 1), u"StringFormat '%.12' failed ");
    // The result is defined for missing arguments and for ones of another type.
    EXPECT_EQ(StringFormat("%s|%d|%s", 5, 2.9), u"|2|");
    EXPECT_EQ(StringFormat("%d %f %d", u"x", 3, 1e10), u"0 3.000000 0");
}

}  // namespace
}  // namespace larkspur

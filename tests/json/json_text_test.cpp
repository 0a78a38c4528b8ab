#include "json/json_text.h"

#include <gtest/gtest.h>

#include "larkspur.h"

namespace larkspur {
namespace {

int Size(const lkstr& text) { return static_cast<int>(text.size()); }

// Uses a copy of exactly these units, so that reads beyond them are detected.
template <class Function>
auto OnExactUnits(const lkstr& text, Function function) {
    const std::vector<lkchar> units(text.begin(), text.end());
    return function(units.data(), Size(text));
}

// The number of units before the position, or -1 for null.
std::ptrdiff_t FindEnd(const lkchar* (*find)(const lkchar*, int), const lkstr& text) {
    return OnExactUnits(text, [find](const lkchar* p, int n) {
        const lkchar* end = find(p, n);
        return end == nullptr ? -1 : end - p;
    });
}

TEST(JsonText, FindsTheEndOfAnObjectOrArray) {
    const struct {
        const lkchar* text;
        std::ptrdiff_t end;
    } cases[] = {
        {u"[1 2,]x", 6},
        {u"  {}  ", 4},
        {u"{\"a\":1 \"b\":2}", 13},
        {u"{\"a\":1 2}", -1},
        {u"[\"a\\q\"]", -1},
        {u"[\"a\\n\\\"]\"]", 10},
        {u"[abc,12x]", 9},
        {u"[,]", 3},
        {u"{,}", -1},
        {u"[1,,2]", 6},
        {u"[}", -1},
        {u"{]", -1},
        {u"[{\"a\":[]},[[]]]", 15},
        {u"{\"a\\\":1}", 8},
        {u"{\"a\" : }", 8},
        {u"{\"a\"\u0001:1}", -1},
        {u"{\"a\"}", -1},
        {u"{\"a", -1},
        {u"{\"a\":", -1},
        {u"[1", -1},
        {u"[\"a\"", -1},
        {u"[\"a\\", -1},
        {u"[[1]", -1},
        {u"\u0001[]", -1},
        {u"1", -1},
        {u"", -1},
        {u"   ", -1},
        {u"[\u0001x]", 4},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(FindEnd(FindJsonTextEnd, c.text), c.end) << UnicodeTextToPrintf(c.text);
    }
    EXPECT_EQ(FindEnd(FindJsonObjectTextEnd, u"[1]"), -1);
    EXPECT_EQ(FindEnd(FindJsonObjectTextEnd, u" {}"), 3);
    EXPECT_EQ(FindEnd(FindJsonArrayTextEnd, u"{}"), -1);
    EXPECT_EQ(FindEnd(FindJsonArrayTextEnd, u" []"), 3);
    EXPECT_EQ(FindJsonTextEnd(nullptr, 2), nullptr);

    const lkstr deep = lkstr(500'000, u'[') + lkstr(500'000, u']');
    EXPECT_EQ(FindEnd(FindJsonTextEnd, deep), 1'000'000);
}

TEST(JsonText, AnAtomThatRunsToTheEndHasNone) {
    const struct {
        const lkchar* text;
        std::ptrdiff_t end;
    } cases[] = {{u" 12 ", 3},   {u"12", -1},    {u"", -1},        {u",", 0},
                 {u"\"a\"", -1}, {u"\"a\" ", 3}, {u"\"\\u\" ", -1}};
    for (const auto& c : cases) {
        const auto find = [](const lkchar* p, int n) { return DoFindJsonAtomValueTextEnd(p, p + n); };
        EXPECT_EQ(FindEnd(find, c.text), c.end) << UnicodeTextToPrintf(c.text);
    }
}

TEST(JsonText, EscapesAndBack) {
    const struct {
        lkstr decoded, encoded;
    } cases[] = {
        {u"a\"b", u"a\\\"b"},
        {u"\\\r\n\t", u"\\\\\\r\\n\\t"},
        {u"\u0001\b/中\xD83D", u"\u0001\b/中\xD83D"},
        {u"a long text with its \"quotes\" after several blocks of eight",
         u"a long text with its \\\"quotes\\\" after several blocks of eight"},
        {u"", u""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(JSON_Encode(c.decoded.c_str()), c.encoded);
        EXPECT_EQ(JSON_Decode(c.encoded.c_str(), Size(c.encoded)), c.decoded);
        EXPECT_EQ(JSON_HasSpecialChar(c.decoded.c_str()), c.decoded != c.encoded);
    }
    const auto decode = [](const lkstr& text) { return OnExactUnits(text, JSON_Decode); };
    EXPECT_EQ(decode(u"a\\qb"), u"ab");
    EXPECT_EQ(decode(u"\\u0041"), u"0041");
    EXPECT_EQ(decode(u"a\\"), u"a");
    EXPECT_EQ(JSON_Decode(u"abc", 0) + JSON_Decode(nullptr, 3), u"");
    EXPECT_EQ(JSON_Encode(nullptr), u"");
    EXPECT_TRUE(JSON_HasEscapeChar(u"net"));
    EXPECT_FALSE(JSON_HasEscapeChar(u"abc"));
    EXPECT_FALSE(JSON_HasEscapeChar(nullptr));
}

// Against a plain search: any unit, anywhere in a block of eight.
TEST(JsonText, LiteralsEndAtTheFirstStop) {
    for (lkchar unit = 0; unit < 0x300; ++unit) {
        for (std::size_t n = 1; n < 18; ++n) {
            const lkstr text = lkstr(n, u'x') + unit + lkstr(n % 9, u'y') + u"]";
            const std::vector<lkchar> units(text.begin(), text.end());
            const lkchar* const end = DoFindJsonAtomValueTextEnd(units.data(), units.data() + units.size());
            EXPECT_EQ(static_cast<std::size_t>(end - units.data()), text.find_first_of(u" \n\r\t,]}"))
                << static_cast<int>(unit) << " after " << n;
        }
    }
}

TEST(JsonText, ValuesAsText) {
    EXPECT_EQ(JSON_EncodeValue(-3), u"-3");
    EXPECT_EQ(JSON_EncodeValue(true), u"true");
    EXPECT_EQ(JSON_EncodeValue(1.5), u"1.500000");
    EXPECT_EQ(JSON_EncodeValue(u"a\"中"), lkstr(u"\"\0a\\\"中\"", 7));
    EXPECT_EQ(JSON_EncodeValue("\xE4"), lkstr(u"\"\0\xFFE4\"", 4));
    EXPECT_EQ(JSON_EncodeValue(static_cast<const lkchar*>(nullptr)), lkstr(u"\"\0\"", 3));
}

TEST(JsonText, AnObjectIsToldByItsEnds) {
    const struct {
        const char* text;
        bool isJson;
    } cases[] = {{"  {\"a\":1}\n", true},
                 {"{ x }", true},
                 {"[1]", false},
                 {"{\"a\":1", false},
                 {"a}", false},
                 {"{", false},
                 {"}", false},
                 {"   ", false},
                 {"", false}};
    for (const auto& c : cases) {
        const lkstr text = lkstr_fromascii(c.text);
        EXPECT_EQ(OnExactUnits(text, [](const lkchar* p, int n) { return JSON_TextIsJson(p, n); }), c.isJson)
            << c.text;
        EXPECT_EQ(JSON_TextIsJson(c.text, Size(text)), c.isJson) << c.text;
        EXPECT_EQ(JSON_TextIsJson(wstr_fromascii(c.text).c_str(), Size(text)), c.isJson) << c.text;
    }
    EXPECT_TRUE(JSON_TextIsJson(L"\U00010020{}", 3)) << "space by its low 16 bits";
    EXPECT_FALSE(JSON_TextIsJson(static_cast<const lkchar*>(nullptr), 3));
}

}  // namespace
}  // namespace larkspur

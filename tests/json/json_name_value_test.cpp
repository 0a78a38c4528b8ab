#include "json/json_name_value.h"

#include <gtest/gtest.h>

#include "larkspur.h"

namespace larkspur {
namespace {

TEST(JsonNameValues, ReadFlatObjects) {
    const struct {
        const lkchar* text;
        bool good;
        std::map<lkstr, lkstr> values;
    } cases[] = {
        {u"{\"a\":1, \"b\":\"x\",\"c\":true}", true, {{u"a", u"1"}, {u"b", u"x"}, {u"c", u"true"}}},
        {u" {}tail", true, {}},
        {u"{\"a\":1,}", true, {{u"a", u"1"}}},
        {u"{\"a\":,\"b\":}", true, {{u"a", u""}, {u"b", u""}}},
        {u"{\"a\":1 \"b\":2}", false, {{u"a", u"1"}}},
        {u"{\"a\":1\"b\":2}", true, {{u"a", u"1\"b\":2"}}},
        {u"{\"a\":\"1\" }", true, {{u"a", u"1"}}},
        {u"{\"a\":1,\"a\" : 2}", true, {{u"a", u"2"}}},
        {u"{ }", false, {}},
        {u"{\"a\":1, }", false, {{u"a", u"1"}}},
        {u"{\"a\\n\":net}", true, {{u"a\\n", u"net"}}},
        {u"{\"a\":\"x\\ny\"}", false, {{u"a", u"x"}}},
        {u"{\"a\":\"x\\n\"}", false, {{u"a", u"x"}}},
        {u"{\"a\":\"x\\", false, {{u"a", u"x"}}},
        {u"{\"a\":\"x", false, {{u"a", u"x"}}},
        {u"{\"a\":12", false, {{u"a", u"12"}}},
        {u"{\"a\":[1,2]}", false, {{u"a", u"[1"}}},
        {u"{\"a", false, {}},
        {u"{\"a\"", false, {}},
        {u"{\"a\" 1}", false, {}},
        {u"[1]", false, {}},
        {u"", false, {}},
    };
    for (const auto& c : cases) {
        const std::vector<lkchar> units(c.text, c.text + lkstr_len(c.text));
        std::map<lkstr, lkstr> values;
        EXPECT_EQ(JSON_DecodeNameValues(units.data(), static_cast<int>(units.size()), values), c.good)
            << UnicodeTextToPrintf(c.text);
        EXPECT_EQ(values, c.values) << UnicodeTextToPrintf(c.text);
    }
}

TEST(JsonNameValues, AreWrittenUnchanged) {
    EXPECT_EQ(JSON_EncodeNameValues({}), u"{}");
    EXPECT_EQ(JSON_EncodeNameValues({{u"a", u"1"}, {u"b\"", u"\"x\""}}), u"{\"a\":1,\"b\"\":\"x\"}");
}

TEST(JsonNameValues, TypedReadsFallBackOnDefaults) {
    const std::map<lkstr, lkstr> values = {{u"n", u"1.5"},     {u"word", u"no"}, {u"false", u"false"},
                                           {u"null", u"null"}, {u"empty", u""},  {u"escaped", u"a\\tb"}};
    EXPECT_EQ(JSON_ValueAsInteger(values, u"n", 3), 85) << "the point is a digit of value -2";
    EXPECT_EQ(JSON_ValueAsFloat(values, u"n", 3), 1.5);
    EXPECT_EQ(JSON_ValueAsInteger(values, u"empty", 3), 3);
    EXPECT_EQ(JSON_ValueAsFloat(values, u"absent", 3), 3);
    EXPECT_TRUE(JSON_ValueAsBoolean(values, u"word", false));
    EXPECT_FALSE(JSON_ValueAsBoolean(values, u"false", true));
    EXPECT_TRUE(JSON_ValueAsBoolean(values, u"empty", true));
    EXPECT_EQ(JSON_ValueAsString(values, u"escaped", nullptr), u"a\tb");
    EXPECT_EQ(JSON_ValueAsString(values, u"absent", u"d"), u"d");
    EXPECT_EQ(JSON_ValueAsString(values, u"absent", nullptr), u"");
    EXPECT_FALSE(JSON_ValueIsNull(values, u"null"));
    EXPECT_TRUE(JSON_ValueIsNull(values, u"absent"));
}

}  // namespace
}  // namespace larkspur

#include "common/unicode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "common/errors.h"

namespace larkspur {
namespace {

// A heap copy of exactly this size, so that a sanitizer detects reads beyond it.
template <typename Text>
std::vector<typename Text::value_type> Exact(const Text& text) {
    return {text.begin(), text.end()};
}

lkstr Decode(const str& bytes) {
    const std::vector<char> block = Exact(bytes);
    const lkstr text = Utf8ToUnicode(block.data(), static_cast<int>(block.size()));
    ClkMemory memory;
    Utf8ToUnicode(block.data(), static_cast<int>(block.size()), memory);
    EXPECT_EQ(memory.Size(), 2 * static_cast<int>(text.size()) + 2);
    EXPECT_EQ(std::memcmp(memory.Data(), text.c_str(), static_cast<std::size_t>(memory.Size())), 0);
    return text;
}

str Encode(const lkstr& text) {
    const std::vector<lkchar> block = Exact(text);
    const str bytes = UnicodeToUtf8(block.data(), static_cast<int>(block.size()));
    ClkMemory memory;
    UnicodeToUtf8(block.data(), static_cast<int>(block.size()), memory);
    EXPECT_EQ(memory.Size(), static_cast<int>(bytes.size()) + 1);
    EXPECT_EQ(std::memcmp(memory.Data(), bytes.c_str(), static_cast<std::size_t>(memory.Size())), 0);
    return bytes;
}

TEST(Unicode, DecodesUtf8) {
    struct Case {
        const char* name;
        str bytes;
        lkstr text;
    } const cases[] = {
        {"three bytes", "\xE4\xB8\xAD", u"中"},
        {"a bad byte empties all", "abc\xFF", u""},
        {"zero bytes count", str("a\0b", 3), lkstr(u"a\0b", 3)},
        {"the second of two bytes is not examined", "\xD6\xD0", {0x0590}},
        {"overlong pair", "\xC0\x80", lkstr(1, 0)},
        {"overlong three", "\xE0\x80\x81", {1}},
        {"surrogates come back", "\xED\xA0\xBD\xED\xB8\x80", u"\U0001F600"},
        {"four bytes are bad", "\xF0\x9F\x98\x80", u""},
        {"lone continuation", "a\x80", u""},
        {"cut off after two of three", "\xE4\xB8", u""},
        {"cut off after one of two", "a\xC3", u""},
        {"bad third byte", "\xE4\xB8\x41", u""},
    };
    for (const Case& c : cases) EXPECT_EQ(Decode(c.bytes), c.text) << c.name;

    lkstr out = u"old";
    Utf8ToUnicode(nullptr, 7, out);
    EXPECT_EQ(out, u"");
    ClkMemory memory;
    Utf8ToUnicode(nullptr, 7, memory);
    EXPECT_EQ(memory.Size(), 2);
}

TEST(Unicode, SingleUnitsReadNoByteAfterTheirSequence) {
    using namespace std::string_literals;
    struct Case {
        str block;
        int used;
        lkchar unit;
    } const cases[] = {{"\0"s, 1, 0},         {"z"s, 1, u'z'},       {"\xC3\0"s, 2, 0x00C0},
                       {"\xE4\0"s, 0, 0},     {"\xE4\xB8\0"s, 0, 0}, {"\xE4\xB8\xAD"s, 3, u'中'},
                       {"\xF0\x9F\0"s, 0, 0}, {"\x80"s, 0, 0}};
    for (const Case& c : cases) {
        const std::vector<char> block = Exact(c.block);
        lkchar unit = 0x1234;
        EXPECT_EQ(Utf8ToUnicodeChar(block.data(), unit), c.used) << testing::PrintToString(c.block);
        EXPECT_EQ(unit, c.unit) << testing::PrintToString(c.block);
    }
    for (int unit = 0; unit < 0x10000; ++unit) {
        char bytes[4] = {};
        lkchar back = 0;
        const int used = UnicodeCharToUtf8(static_cast<lkchar>(unit), bytes, 0);
        ASSERT_EQ(used, unit < 0x80 ? 1 : unit < 0x800 ? 2 : 3);
        ASSERT_EQ(Utf8ToUnicodeChar(bytes, back), used) << unit;
        ASSERT_EQ(back, unit);
    }
}

TEST(Unicode, DetectsInvalidBytesAnywhere) {
    for (const str& run : {str("a"), str("é"), str("中"), str("中a")}) {
        for (std::size_t i = 0; i < 60; ++i) {
            str bytes;
            while (bytes.size() < 60) bytes += run;
            EXPECT_TRUE(DetectIsUTF8(Exact(bytes).data(), static_cast<int>(bytes.size()))) << run;
            bytes[i] = '\xFE';
            EXPECT_FALSE(DetectIsUTF8(Exact(bytes).data(), static_cast<int>(bytes.size()))) << run << i;
        }
    }
}

// The sizes of long texts are estimated from samples: here too large and too small.
TEST(Unicode, LongTextsMayChangeTheirScript) {
    for (const bool asciiFirst : {true, false}) {
        lkstr text = asciiFirst ? lkstr(10000, u'a') : lkstr();
        text.append(30000, u'中').append(20000, u'é').append(asciiFirst ? 0 : 100000, u'a');
        const str bytes = Encode(text);
        EXPECT_EQ(bytes.size(), asciiFirst ? 140000u : 230000u);
        EXPECT_TRUE(Decode(bytes) == text);
    }
    lkstr unexpected(40000, u'a');  // Chinese only where no sample is
    for (std::size_t i = 300; i + 900 < unexpected.size(); i += 1290) {
        std::fill_n(unexpected.begin() + static_cast<std::ptrdiff_t>(i), 900, u'中');
    }
    EXPECT_TRUE(Decode(Encode(unexpected)) == unexpected);
    str pairs;
    for (int i = 0; i < 9000; ++i) pairs += "\xD6\x80\xC3\x41";
    EXPECT_EQ(Decode(pairs).size(), 18000u) << "a second byte that looks like a unit";
}

TEST(Unicode, DetectsUtf8) {
    struct Case {
        const char* name;
        str bytes;
        bool detected, coarse;
    } const cases[] = {
        {"empty", "", true, true},
        {"ascii", "abc", true, true},
        {"two bytes", "\xC3\xA9", true, true},
        {"lone lead of two", "\xC3", true, false},
        {"lone lead of three", "\xE4", true, false},
        {"two of three", "\xE4\xB8", true, true},
        {"cut off, the second is not examined", "\xE4\x41", true, true},
        {"three bytes", "\xE4\xB8\xAD", true, false},
        {"bad third byte", "\xE4\xB8\x41", false, true},
        {"bad second byte", "\xC3\x41", false, true},
        {"continuation", "\x80", false, false},
        {"four bytes", "\xF0\x9F\x98\x80", false, false},
        {"overlong pair", "\xC0\x80", true, false},
        {"encoded surrogate", "\xED\xA0", true, false},
        {"below the three-byte range", "\xE0\x9F", true, false},
        {"above the last plane", "\xF4\x90", false, false},
        {"below the four-byte range", "\xF0\x8F", false, false},
        {"no second byte of four", "\xF0\xC0", false, false},
        {"of the four-byte range", "\xF0\x90", false, true},
    };
    for (const Case& c : cases) {
        const std::vector<char> block = Exact(c.bytes);
        EXPECT_EQ(DetectIsUTF8(block.data(), static_cast<int>(block.size())), c.detected) << c.name;
        EXPECT_EQ(IsValidUtf8Str(block.data(), static_cast<int>(block.size())), c.coarse) << c.name;
    }
    EXPECT_TRUE(DetectIsUTF8(nullptr, 5) && IsValidUtf8Str(nullptr, 5));
}

TEST(Unicode, MultibyteTextCanOnlyBeRead) {
    EXPECT_EQ(MbsToUnicode("é", 2), u"é");
    str out = "old";
    try {
        UnicodeToMbs(u"", 0, out);
        FAIL();
    } catch (const ClkException& e) {
        EXPECT_STREQ(e.what(), "Occured function failed, hint text: UnicodeToMbs");
    }
    EXPECT_EQ(out, "old");
}

TEST(Unicode, ResultMayReplaceItsOwnInput) {
    ClkMemory memory;
    UnicodeToUtf8(u"中文", 2, memory);
    Utf8ToUnicode(static_cast<const char*>(memory.Data()), memory.Size() - 1, memory);
    EXPECT_EQ(lkstr(static_cast<const lkchar*>(memory.Data())), u"中文");
}

}  // namespace
}  // namespace larkspur

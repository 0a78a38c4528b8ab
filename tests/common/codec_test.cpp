#include <gtest/gtest.h>

#include <climits>
#include <random>

#include "larkspur.h"

namespace larkspur {
namespace {

str Bytes(const ClkMemory& memory) {
    return memory.Size() == 0
               ? str()
               : str(static_cast<const char*>(memory.Data()), static_cast<std::size_t>(memory.Size()));
}

// Decodes a copy of exactly these bytes, so that reads beyond them are detected.
str Decoded(const str& text) {
    const std::vector<char> exact(text.begin(), text.end());
    ClkMemory memory;
    memory.SetSize(9);
    EXPECT_TRUE(Base64_Decode(exact.empty() ? "" : exact.data(), static_cast<int>(exact.size()), memory));
    EXPECT_EQ(memory.Data() == nullptr, memory.Size() == 0);
    return Bytes(memory);
}

// Decodes group by group, following the rules literally.
str DecodedSlowly(const str& text) {
    const str alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    str bytes;
    unsigned int bits = 0;
    int count = 0;
    bool groupStarts = true;
    for (const char c : text) {
        if (groupStarts && c == 0) break;
        groupStarts = false;
        const std::size_t value = alphabet.find(c);
        if (value == str::npos) continue;
        bits = bits << 6 | static_cast<unsigned int>(value);
        if (++count < 4) continue;
        for (const int shift : {16, 8, 0}) bytes += static_cast<char>(bits >> shift);
        bits = 0;
        count = 0;
        groupStarts = true;
    }
    if (count == 2) bytes += static_cast<char>(bits >> 4);
    if (count == 3) bytes += {static_cast<char>(bits >> 10), static_cast<char>(bits >> 2)};
    return bytes;
}

TEST(Base64, KnownTexts) {
    const struct {
        const char* bytes;
        const char* text;
    } cases[] = {{"", ""},
                 {"a", "YQ=="},
                 {"ab", "YWI="},
                 {"abc", "YWJj"},
                 {"\xFB\xFF\xBF", "+/+/"},
                 {"abcabca", "YWJjYWJjYQ=="}};
    for (const auto& c : cases) {
        const str bytes = c.bytes;
        EXPECT_EQ(Base64_Encode(bytes.data(), static_cast<int>(bytes.size())), c.text);
        EXPECT_EQ(Decoded(c.text), bytes) << c.text;
    }
    EXPECT_EQ(Decoded("YW Jj\r\n"), "abc");
    EXPECT_EQ(Decoded(str("YWJj\0YWJj", 9)), "abc") << "a zero byte ends the text where a group would start";
    EXPECT_EQ(Decoded(str("YWJj\n\0YWJj", 10)), "abcabc") << "and is skipped anywhere else";
    EXPECT_EQ(Decoded(str("\0YWJj", 5)), "");
    EXPECT_EQ(Decoded("Y"), "");
    EXPECT_EQ(Decoded("Y=W=J==j"), "abc");

    ClkMemory memory;
    EXPECT_FALSE(Base64_Decode(nullptr, 4, memory));
    EXPECT_TRUE(Base64_DecodeFromWideText(u"YWJj", 0, memory));
    EXPECT_EQ(Bytes(memory), "abc");
    EXPECT_TRUE(Base64_DecodeFromWideText(nullptr, 0, memory));
    EXPECT_EQ(memory.Size(), 0);
    EXPECT_EQ(Base64_Encode(nullptr, 0), "");
    try {
        Base64_Encode(nullptr, 1);
        ADD_FAILURE() << "encoded null";
    } catch (const ClkException& e) {
        EXPECT_STREQ(e.what(), "Occured function failed, hint text: Base64Encode");
    }
}

TEST(Base64, EveryLengthAndAnyNoiseDecode) {
    std::mt19937 random(3);
    for (int n = 0; n < 3200; n = n < 40 ? n + 1 : n + 997) {
        str bytes;
        for (int i = 0; i < n; ++i) bytes += static_cast<char>(random());
        const std::vector<char> exact(bytes.begin(), bytes.end());
        const str text = Base64_Encode(exact.data(), n);
        ASSERT_EQ(Decoded(text), bytes) << n;
        EXPECT_LE(static_cast<int>(text.size()), Base64_EncodeLength(n));
        EXPECT_LE(n, Base64_DecodeLength(static_cast<int>(text.size())));
        for (int round = 0; round < 20; ++round) {
            str noisy = text;
            for (std::size_t k = random() % 8; k > 0; --k) {
                noisy.insert(random() % (noisy.size() + 1), 1, "\r\n=\0-\xFF z"[random() % 8]);
            }
            ASSERT_EQ(Decoded(noisy), DecodedSlowly(noisy)) << testing::PrintToString(noisy);
        }
    }
}

TEST(Base64, LengthsIncludeLineEnds) {
    const struct {
        int bytes, encoded;
    } cases[] = {{0, 2}, {1, 6}, {2, 6}, {3, 6}, {4, 10}, {57, 80}, {58, 84}, {-5, 2}, {INT_MAX, INT_MAX}};
    for (const auto& c : cases) EXPECT_EQ(Base64_EncodeLength(c.bytes), c.encoded) << c.bytes;
    EXPECT_EQ(Base64_DecodeLength(0), 0);
    EXPECT_EQ(Base64_DecodeLength(5), 6);
}

TEST(Base64, TheQuickTestExaminesOnlyTheEnds) {
    const str run(64, 'A');
    const struct {
        str text;
        bool isBase64;
    } cases[] = {{"YWJj", true},
                 {"YWI=", true},
                 {"YQ==", false},
                 {"A", false},
                 {"", false},
                 {"A-", false},
                 {"A\nAA", false},
                 {run + "==", true},
                 {run.substr(1) + "==", false},
                 {run.substr(1) + "\n=A", false},
                 {run + "\n\nAA", true},
                 {"=A", false},
                 {"A=", true}};
    for (const auto& c : cases) {
        const int n = static_cast<int>(c.text.size());
        EXPECT_EQ(IsBase64TextCode(c.text.data(), n), c.isBase64) << c.text;
        EXPECT_EQ(IsBase64TextCode(lkstr_fromascii(c.text.c_str()).data(), n), c.isBase64) << c.text;
    }
    EXPECT_TRUE(IsBase64TextCode(u"\u0141\u0141", 2)) << "the low byte is tested";
}

TEST(Base64, ImageTextsStartAfterTheirComma) {
    const struct {
        lkstr text;
        std::ptrdiff_t start;  // -1 for none
        int size;
    } cases[] = {
        {u"iVBOR", 0, 5},
        {u"data:image/png;base64,iVBOR", 22, 5},
        {u"DATA:Image,", 11, 0},
        {u"data:image/png;base64;x=12345,A", 30, 1},
        {u"data:image/png;base64;x=123456,A", -1, 0},
        {u"data:image/png;base64", -1, 0},
        {u"data:imagf/png;base64,iVBOR", -1, 0},
        {u"data:", -1, 0},
        {u"", -1, 0},
    };
    for (const auto& c : cases) {
        const std::vector<lkchar> exact(c.text.begin(), c.text.end());
        int size = static_cast<int>(exact.size());
        const lkchar* start = ConfirmImageBase64(exact.data(), size);
        EXPECT_EQ(start == nullptr ? -1 : start - exact.data(), c.start) << UnicodeTextToPrintf(c.text);
        EXPECT_EQ(size, c.size) << UnicodeTextToPrintf(c.text);
    }
}

TEST(MyHex, LettersOfBytes) {
    EXPECT_EQ(MyHexEncode("A\xFF", 2), "GDRR");
    EXPECT_EQ(MyHexDecode("GDRR", 4), "A\xFF");
    EXPECT_EQ(MyHexDecode("GDR", 3), "");
    EXPECT_EQ(MyHexDecode("Az", 2), str(1, static_cast<char>(-2 * 16 + 'z' - 'C')));
    const str encoded = Base64MyHexEncode("\0ab", 3);
    EXPECT_EQ(encoded, MyHexEncode("AGFi", 4));
    EXPECT_EQ(Base64MyHexDecode(encoded.data(), static_cast<int>(encoded.size())), str("\0ab", 3));
}

TEST(Uri, ComponentsAreEncoded) {
    const struct {
        lkstr text;
        const lkchar* encoded;  // null if it raises
    } cases[] = {
        {u"a b", u"a%20b"},
        {u"AZaz09-_.!~*'()", u"AZaz09-_.!~*'()"},
        {u"/?&=+%\u007F", u"%2F%3F%26%3D%2B%25%7F"},
        {u"\u00E4\u07FF\u0800", u"%C3%A4%DF%BF%E0%A0%80"},
        {u"中", u"%E4%B8%AD"},
        {u"\U00010000\U0001F600\U0010FFFF", u"%F0%90%80%80%F0%9F%98%80%F4%8F%BF%BF"},
        {u"\xDC00", nullptr},
        {u"a\xD83D", nullptr},
        {lkstr{0xD83D, u'a'}, nullptr},
        {u"\xD83D\xD83D\xDE00", nullptr},
        {u"", u""},
    };
    for (const auto& c : cases) {
        const std::vector<lkchar> exact(c.text.begin(), c.text.end());
        try {
            EXPECT_EQ(encodeURIComponent(exact.data(), static_cast<int>(exact.size())),
                      c.encoded == nullptr ? u"raised" : c.encoded);
        } catch (const char* error) {
            EXPECT_STREQ(error, "MakeURIError");
            EXPECT_EQ(c.encoded, nullptr) << UnicodeTextToPrintf(c.text);
        }
    }
}

TEST(Markup, EncodesAndDecodes) {
    const lkstr text = u"<a b=\"'&'\">";
    const int n = static_cast<int>(text.size());
    EXPECT_EQ(XmlEncode(text.c_str(), n), u"&lt;a b=&quot;'&amp;'&quot;&gt;");
    EXPECT_EQ(HtmlEncode(text.c_str(), n), u"&lt;a&nbsp;b=&quot;'&amp;'&quot;&gt;");
    EXPECT_EQ(XmlEncode(u"<<", 1), u"&lt;");
    EXPECT_EQ(XmlEncode(nullptr, 3), u"");
    EXPECT_FALSE(XmlHasSpecialChar(u"a '", 3));
    EXPECT_TRUE(HtmlHasSpecialChar(u"a '", 3));
    EXPECT_FALSE(HtmlHasSpecialChar(u"a '", 1));

    for (const auto& [entity, unit] : std::map<lkstr, lkchar>{
             {u"amp", u'&'}, {u"lt", u'<'}, {u"gt", u'>'}, {u"apos", u'\''}, {u"quot", u'"'}}) {
        EXPECT_EQ(XML_DecodeValue((u"a&" + entity + u";").c_str()), lkstr(u"a") + unit);
    }
    EXPECT_EQ(XML_DecodeValue(u"plain;"), u"plain;");
    EXPECT_EQ(XML_DecodeValue(nullptr), u"");
    for (const lkchar* bad : {u"a&lt;b", u"&", u"&LT;", u"&amp;lt;"}) {
        try {
            XML_DecodeValue(bad);
            ADD_FAILURE() << UnicodeTextToPrintf(bad);
        } catch (const ClkException& e) {
            EXPECT_EQ(e.Type(), LKExceptionJson);
            EXPECT_EQ(e.HintText(), lkstr_charat(bad, u'&'));
        }
    }
}

TEST(Markup, NodeNames) {
    for (const lkchar* good : {u"", u"azAZ09-._", u"_", u"\u00B7", u"\u00C1中"})
        EXPECT_TRUE(XmlCheckNodeName(good)) << UnicodeTextToPrintf(good);
    for (const lkchar* bad :
         {u"0a", u"-a", u".a", u"a b", u"a/", u"a:", u"a@", u"a[", u"a`", u"a{", u"\u00C0", u"\u00B6"})
        EXPECT_FALSE(XmlCheckNodeName(bad)) << UnicodeTextToPrintf(bad);
    EXPECT_FALSE(XmlCheckNodeName(nullptr));
}

TEST(NameValue, TextFillsSlotsAndIsBuiltFromThem) {
    lkstr a, b, unset;
    const ClkNameValueSlots slots = {{u"a", &a}, {u"B", &b}, {u"unset", &unset}, {u"null", nullptr}};
    DecodeTextToNameValues(u"A=1;b = 2\r\nc;d=4\nnull=5", slots);
    EXPECT_EQ(a, u"1");
    EXPECT_EQ(b, u"2");
    EXPECT_EQ(BuildNameValuesText(slots), u"a=1;\r\nB=2;\r\n");
    DecodeTextToNameValues(u"a=3;A=4", slots);
    EXPECT_EQ(a, u"4");
}

TEST(NameValue, InTablesTheLastMatchCounts) {
    const CNameIntValuePair table[] = {{u"one", 1}, {u"two", 2}, {u"ONE", 11}, {u"zwei", 2}, {nullptr, 0}};
    int value = 0;
    EXPECT_TRUE(NameToIntValue(u"One", table, value));
    EXPECT_EQ(value, 11);
    EXPECT_FALSE(NameToIntValue(u"three", table, value));
    EXPECT_EQ(value, 11);
    lkstr name;
    EXPECT_TRUE(IntValueToName(2, table, name));
    EXPECT_EQ(name, u"zwei");
    EXPECT_FALSE(IntValueToName(0, table, name));
}

TEST(NameValue, NamesAndColours) {
    const struct {
        const lkchar* name;
        const lkchar* ensured;
    } names[] = {{u"_azAZ09", u"_azAZ09"}, {u"1a", u"[1a]"},         {u"中文", u"中文"},    {u"", u"[]"},
                 {u"a b", u"[a b]"},       {u"\u00E4", u"[\u00E4]"}, {u"\u0100", u"\u0100"}};
    for (const auto& c : names) {
        lkstr name = c.name;
        EnsureNameText(name);
        EXPECT_EQ(name, c.ensured);
    }
    const struct {
        unsigned int color, gray;
    } colors[] = {{0xFFFFFF, 0xFFFFFF},  {0, 0}, {0xFF, 0x636363}, {0xFF00, 0x808080}, {0xFF0000, 0x1C1C1C},
                  {0xFFFEFEFE, 0xFEFEFE}};
    for (const auto& c : colors) EXPECT_EQ(RGBColorToGray(c.color), c.gray) << c.color;
}

}  // namespace
}  // namespace larkspur

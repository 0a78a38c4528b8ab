// Widths of texts, in columns of plain text.
#include <gtest/gtest.h>

#include "qbsvrl6/sheet/text/text_width.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {
namespace {

TEST(TextWidth, CountsColumns) {
    EXPECT_EQ(displayWidth(u"aé…"), 3);
    EXPECT_EQ(displayWidth(u"中文，（ＡB"), 11);
    EXPECT_EQ(displayWidth(u"e\u0301\u200B"), 1);
    EXPECT_EQ(displayWidth(u"😀𠀀ｱ한"), 7);
}

TEST(TextWidth, WrapsLines) {
    const struct {
        std::u16string_view text;
        int width;
        const char* expected;
    } cases[] = {
        {u"", 5, ""},
        {u"one two", 7, "one two"},
        {u"one two", 6, "one|two"},
        {u"one   two", 4, "one|two"},
        {u"one two   ", 3, "one|two"},
        {u"abcdefgh", 3, "abc|def|gh"},
        {u"ab cdefgh", 4, "ab|cdef|gh"},
        {u"中文字符", 5, "中文|字符"},
        {u"中文，字", 4, "中|文，|字"},
        {u"说（中）", 4, "说|（中|）"},
        {u"中abc", 4, "中|abc"},
        {u"中", 1, "中"},
        {u"a\nb\r\n\rc", 9, "a|b||c"},
        {u"a\n", 9, "a|"},
    };
    for (const auto& one : cases) {
        std::vector<std::u16string_view> lines;
        wrapText(one.text, one.width, lines);
        std::string joined;
        for (std::size_t i = 0; i < lines.size(); ++i) joined += (i > 0 ? "|" : "") + toUtf8(lines[i]);
        EXPECT_EQ(joined, one.expected) << toUtf8(one.text);
    }
}

}  // namespace
}  // namespace qbsvrl6

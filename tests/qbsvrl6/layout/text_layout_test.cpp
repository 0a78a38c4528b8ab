#include "qbsvrl6/layout/text_layout.h"

#include <gtest/gtest.h>

#include "qbsvrl6/support/utf.h"
#include "tests/qbsvrl6/layout/recording_sink.h"

namespace qbsvrl6 {
namespace {

class TextLayout : public testing::Test {
protected:
    TextLayout() {
        style.fontFamily = u"DejaVu Sans Mono";
        style.fontSize = 10;
        style.padding = {0, 0, 0, 0};
        style.verticalAlign = VerticalAlign::Top;
    }

    // The lines as shown, "a|b".
    std::string layOut(const std::u16string& text, Size box) {
        PooledStyle pooled(style);
        item = {};
        item.text = text;
        needed = breakText(item, pooled, box);
        placeText(item, pooled, box);
        Item whole;
        whole.content = item;
        return textOf(whole);
    }

    ResolvedStyle style;
    TextItem item;
    Micrometres needed = 0;
};

// A character of this face is 0.602 em: at 10 point 2.124 mm wide, and a line 4.107 mm high.
constexpr Micrometres kCharacter = 2124;
constexpr Micrometres kLine = 4107;

TEST_F(TextLayout, BreaksByTheFit) {
    struct Case {
        TextFit fit;
        const char16_t* text;
        Size box;
        const char* lines;
        bool needsMore;  // than the box has
    };
    const Case cases[] = {
        {TextFit::Grow, u"one two three", {20'000, 5'000}, "one two", true},
        {TextFit::Grow, u"one two three", {20'000, 9'000}, "one two|three", false},
        {TextFit::Grow, u"one", {20'000, 3'600}, "one", false},
        {TextFit::Grow, u"one", {20'000, 1'000}, "", true},
        {TextFit::Grow, u"abcdefghijkl", {20'000, 9'000}, "abcdefghi|jkl", false},
        {TextFit::Grow, u"a\nb\n\nc", {20'000, 20'000}, "a|b||c", false},
        {TextFit::Grow, u"abc", {0, 5'000}, "", false},
        {TextFit::Clip, u"one two three", {20'000, 5'000}, "one two", false},
        {TextFit::Clip, u"one two three four", {20'000, 9'000}, "one two|three", false},
        {TextFit::Ellipsis, u"one two three", {20'000, 5'000}, "one two…", false},
        {TextFit::Ellipsis, u"one\ntwo three four", {20'000, 9'000}, "one|two thre…", false},
        {TextFit::Ellipsis, u"one two", {20'000, 5'000}, "one two", false},
        {TextFit::Ellipsis, u"one two", {1'000, 5'000}, "…", false},
        {TextFit::Shrink, u"one two three", {20'000, 4'000}, "one two three", false},
        {TextFit::Shrink, u"one two", {20'000, 5'000}, "one two", false},
    };
    for (const Case& test : cases) {
        style.fit = test.fit;
        const std::string lines = layOut(test.text, test.box);
        std::string shown = lines;
        if (item.lines.empty()) shown.clear();
        EXPECT_EQ(shown, test.lines) << toUtf8(test.text);
        EXPECT_EQ(needed > test.box.height, test.needsMore) << toUtf8(test.text);
        EXPECT_EQ(toUtf8(item.text), toUtf8(test.text));
    }
}

TEST_F(TextLayout, NumbersStayWhole) {
    struct Case {
        const char* name;
        TextFit fit;
        ValueType type;
        const char16_t* text;
        double characters;  // that the box is wide
        const char* lines;
        double fontSize;
    };
    using enum TextFit;
    constexpr ValueType kText = ValueType::Text;
    constexpr ValueType kNumber = ValueType::Number;
    constexpr ValueType kDate = ValueType::Date;
    const Case cases[] = {
        {"fits", Grow, kNumber, u"-1,234.50", 9.1, "-1,234.50", 10},
        {"shrinks", Grow, kNumber, u"-1,234.50", 7, "-1,234.50", 7.75},
        {"shrinks, clipped", Clip, kNumber, u"-1,234.50", 7, "-1,234.50", 7.75},
        {"shrinks, no ellipsis", Ellipsis, kNumber, u"-1,234.50", 7, "-1,234.50", 7.75},
        {"masked", Grow, kNumber, u"-1,234.50", 5, "########", 6},
        {"masked, clipped", Clip, kNumber, u"-1,234.50", 5, "########", 6},
        {"masked, no ellipsis", Ellipsis, kNumber, u"-1,234.50", 5, "########", 6},
        {"shrunk to a third", Shrink, kNumber, u"-1,234.50", 3.2, "-1,234.50", 3.5},
        {"masked at a third", Shrink, kNumber, u"-1,234.50", 2, "######", 10 / 3.0},
        {"no room at all", Grow, kNumber, u"12", 0.1, "#", 6},
        {"groups apart by blanks", Grow, kNumber, u"1 234 567", 5, "########", 6},
        {"a format with words", Grow, kNumber, u"1234 pieces", 6, "1234|pieces", 10},
        {"a date", Grow, kDate, u"2026-11-05 12:30", 10.5, "2026-11-05 12:30", 6.55},
        {"a date in parts", Grow, kDate, u"2026-11-05 12:30", 9.5, "2026-11-05|12:30", 9.5},
        {"a long date", Grow, kDate, u"Thursday, 5 November 2026", 9.5, "Thursday,|5|November|2026", 10},
        {"a code", Grow, kText, u"INV-2026-00418", 12, "INV-2026-00418", 8.55},
        {"a long text", Grow, kText, u"sum 1234567890 of", 7, "sum|1234567890|of", 7},
        {"masked within", Grow, kText, u"sum 1234567890123 of", 7, "sum|###########|of", 6},
        {"ellipsis before it", Ellipsis, kText, u"sum 1234567 of", 8, "sum…", 10},
        {"a word", Grow, kText, u"abcdefghij", 5, "abcde|fghij", 10},
    };
    for (const Case& test : cases) {
        style.fit = test.fit;
        item = {};
        item.text = test.text;
        item.value.type = test.type;
        const Size box{static_cast<Micrometres>(test.characters * kCharacter), 4 * kLine};
        const PooledStyle pooled(style);
        breakText(item, pooled, box);
        placeText(item, pooled, box);
        Item whole;
        whole.content = item;
        EXPECT_EQ(textOf(whole), test.lines) << test.name;
        EXPECT_NEAR(item.fontSize, test.fontSize, 0.051) << test.name;
        EXPECT_EQ(toUtf8(item.text), toUtf8(test.text)) << test.name;
    }
}

TEST_F(TextLayout, MaskedTextsSplitWithTheirOwnStretches) {
    style.fit = TextFit::Grow;
    const Size box{7 * kCharacter, 20'000};
    layOut(u"a 1234567890123 b 9876543210987 c", box);
    const PooledStyle pooled(style);
    TextItem rest;
    ASSERT_GT(splitText(item, rest, pooled, box, 3 * pooled.lineHeight(item.fontSize), true), 0);
    EXPECT_EQ(toUtf8(item.text), "a 1234567890123 b ");
    EXPECT_EQ(toUtf8(rest.text), "9876543210987 c");
    EXPECT_EQ(toUtf8(rest.shown), "########### c");
}

TEST_F(TextLayout, ShrinksNoFurtherThanNeeded) {
    style.fit = TextFit::Shrink;
    layOut(u"0123456789", {10 * kCharacter / 2, 3'600});  // one line at half the size, two lines do not fit
    EXPECT_NEAR(item.fontSize, 5, 0.1);
    layOut(u"0123456789 0123456789 0123456789 0123456789", {3'000, 3'600});
    EXPECT_NEAR(item.fontSize, 10 / 3.0, 0.01);
    style.padding = {0, 2'000, 0, 2'000};  // what they take isn't the text's
    layOut(u"0123456789", {10 * kCharacter / 2, 7'600});
    EXPECT_NEAR(item.fontSize, 5, 0.1);
}

TEST_F(TextLayout, AlignsAndTurns) {
    struct Case {
        HorizontalAlign align;
        VerticalAlign verticalAlign;
        int rotation;
        Size box;
        Micrometres x;
        Micrometres top;  // of the first line
    };
    // Paddings of 1, 2, 3 and 4 mm from the left on, in a box of 30 x 20 mm; the text is one character.
    const Size box{30'000, 20'000};
    const Case cases[] = {
        {HorizontalAlign::Left, VerticalAlign::Top, 0, box, 1'000, 2'000},
        {HorizontalAlign::Right, VerticalAlign::Bottom, 0, box, 27'000 - kCharacter, 16'000 - kLine},
        {HorizontalAlign::Center, VerticalAlign::Middle, 0, box, 14'000 - kCharacter / 2, 9'000 - kLine / 2},
        {HorizontalAlign::Left, VerticalAlign::Top, 90, box, 2'000, 3'000},
        {HorizontalAlign::Right, VerticalAlign::Bottom, 90, box, 16'000 - kCharacter, 29'000 - kLine},
        {HorizontalAlign::Left, VerticalAlign::Top, 180, box, 3'000, 4'000},
        {HorizontalAlign::Left, VerticalAlign::Top, 270, box, 4'000, 1'000},
        {HorizontalAlign::Left, VerticalAlign::Top, 0, {30'000, 5'000}, 1'000, (5'000 - kLine) / 2},
    };
    style.padding = {1'000, 2'000, 3'000, 4'000};
    for (const Case& test : cases) {
        style.align = test.align;
        style.verticalAlign = test.verticalAlign;
        style.rotation = test.rotation;
        layOut(u"x", test.box);
        ASSERT_EQ(item.lines.size(), 1u);
        const PooledStyle pooled(style);
        const double ascent = pooled.fonts().ascent * 10 * kMicrometresPerPoint;
        EXPECT_NEAR(item.lines[0].x, test.x, 3) << test.rotation;
        EXPECT_NEAR(item.lines[0].baseline - ascent, test.top, 3) << test.rotation;
    }
}

TEST_F(TextLayout, JustifiesAllLinesButTheLast) {
    style.align = HorizontalAlign::Justify;
    layOut(u"aa bb cc dd", {20'000, 20'000});  // "aa bb cc" and "dd"
    ASSERT_EQ(item.lines.size(), 2u);
    const double slack = (20'000 - item.lines[0].line.width) * 1000.0 / (10 * kMicrometresPerPoint);
    EXPECT_NEAR(item.lines[0].wordSpacing, slack / 2, 0.5);
    EXPECT_EQ(item.lines[0].letterSpacing, 0);
    EXPECT_EQ(item.lines[1].wordSpacing, 0);

    style.fontFamily = u"SimSun";
    layOut(u"中文排版两端对齐", {20'000, 20'000});
    ASSERT_EQ(item.lines.size(), 2u);
    const TextLine& first = item.lines[0].line;
    const double room = (20'000 - first.width) * 1000.0 / (10 * kMicrometresPerPoint);
    EXPECT_NEAR(item.lines[0].letterSpacing * static_cast<float>(first.unitCount - 1), room, 0.5);
    EXPECT_EQ(item.lines[1].letterSpacing, 0);
}

TEST_F(TextLayout, SplitsBetweenLines) {
    layOut(u"one two three four", {15'000, 30'000});  // a word a line but for "one two"
    const PooledStyle pooled(style);
    TextItem rest;
    const Micrometres height = splitText(item, rest, pooled, {15'000, 30'000}, 2 * kLine - 10, false);
    EXPECT_EQ(toUtf8(item.text + u"/" + rest.text), "one two three /four");
    EXPECT_EQ(item.lines.size(), 2u);
    ASSERT_EQ(rest.lines.size(), 1u);
    EXPECT_EQ(rest.lines[0].line.firstUnit, 0u);
    EXPECT_NEAR(height, kLine, 3);
}

}  // namespace
}  // namespace qbsvrl6

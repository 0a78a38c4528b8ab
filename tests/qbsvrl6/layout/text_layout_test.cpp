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

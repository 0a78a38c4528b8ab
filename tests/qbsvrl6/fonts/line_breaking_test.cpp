#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "qbsvrl6/fonts/number_spans.h"
#include "qbsvrl6/fonts/shaping.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {
namespace {

constexpr double kSize = 10;
constexpr double kEm = kSize * kMicrometresPerPoint;

std::vector<std::u16string> broken(const std::u16string& text, double ems) {
    const auto width = static_cast<Micrometres>(std::lround(ems * kEm));
    std::vector<std::u16string> lines;
    for (const TextLine& line : breakLines(resolveFont(u"SimSun", false, false), kSize, text, width)) {
        std::u16string content = text.substr(line.firstUnit, line.unitCount);
        if (line.endsParagraph) content += u'|';
        lines.push_back(std::move(content));
        if (width > 0 && line.unitCount > 2 && !isLoneNumber(text.substr(line.firstUnit, line.unitCount))) {
            EXPECT_LE(line.width, width + 40) << toUtf8(text);
        }
    }
    return lines;
}

TEST(LineBreaking, LinesBreakWhereUnicodeAllows) {
    struct Case {
        const char* name;
        std::u16string text;
        double ems;
        std::vector<std::u16string> expected;
    };
    const Case cases[] = {
        {"empty", u"", 5, {}},
        {"fits", u"中文", 5, {u"中文|"}},
        {"exactly", u"一二三四五", 5, {u"一二三四五|"}},
        {"ideographs", u"一二三四五六七", 3, {u"一二三", u"四五六", u"七|"}},
        {"no full stop at a line's start", u"一二三。四", 3, {u"一二", u"三。四|"}},
        {"no bracket at a line's end", u"一二（三）", 3, {u"一二", u"（三）|"}},
        {"words", u"one two three", 4, {u"one two", u"three|"}},
        {"a word wider than the line", u"mmmmmmmmmm", 4, {u"mmmm", u"mmmm", u"mm|"}},
        {"narrower than a character", u"一二", 0.5, {u"一", u"二|"}},
        {"a pair of surrogates is never cut", u"\U00020000\U00020001", 0.5, {u"\U00020000", u"\U00020001|"}},
        {"a mark stays with its base", u"e\u0301e\u0301", 0.3, {u"e\u0301", u"e\u0301|"}},
        {"line ends", u"a\nb\r\nc\rd", 5, {u"a|", u"b|", u"c|", u"d|"}},
        {"blank lines", u"a\n\nb\n", 5, {u"a|", u"|", u"b|"}},
        {"a lone line end", u"\n", 5, {u"|"}},
        {"unbounded", u"one two\nthree", 0, {u"one two|", u"three|"}},
        {"blanks at the end hang", u"一二三      四", 3, {u"一二三", u"四|"}},
        {"only blanks", u"          ", 1, {u"|"}},
        {"blanks at the start stay", u"  一二", 5, {u"  一二|"}},
        {"a number stays whole", u"共1,234.50元", 4, {u"共", u"1,234.50", u"元|"}},
        {"a number wider than the line", u"abc 1,234.50 d", 2, {u"abc", u"1,234.50", u"d|"}},
        {"an address breaks anywhere", u"https://a.b/12345678", 5, {u"https://", u"a.b/12345", u"678|"}},
    };
    for (const Case& c : cases) EXPECT_EQ(broken(c.text, c.ems), c.expected) << c.name;
}

TEST(NumberFinder, FindsNumbersAndCodes) {
    struct Case {
        std::u16string text;
        std::vector<std::u16string> numbers;
    };
    const Case cases[] = {
        {u"no digit - at all, (none)", {}},
        {u"Total: -1,234,567.89, due", {u"-1,234,567.89"}},
        {u"($1,234.50) 12.5% +3 −4 5- 1'000.–", {u"($1,234.50)", u"12.5%", u"+3", u"−4", u"5-", u"1'000"}},
        {u"¥14,569.54元 1.234,50€ US$12", {u"¥14,569.54", u"1.234,50€", u"US$12"}},
        {u"1\u00A0234\u202F567,8 12 345", {u"1\u00A0234\u202F567,8", u"12", u"345"}},
        {u"2026-11-05 12:30 5/11/26", {u"2026-11-05", u"12:30", u"5/11/26"}},
        {u"于2026年11月5日开票", {u"2026年11月5日"}},
        {u"INV-2026-00418, 12kg, v1.2.3", {u"INV-2026-00418", u"12kg", u"v1.2.3"}},
        {u"one,2,three,four5", {u"2", u"four5"}},
        {u"page..........12", {u".12"}},
        {u"Rechnungsnummer-4711", {u"-4711"}},
        {std::u16string(40, u'1'), {std::u16string(40, u'1')}},
        {u"0f" + std::u16string(40, u'a') + u"7", {u"0", u"7"}},
        {u"https://a.b/2026/11 www.c.d/7 12", {u"12"}},
        {u"١٬٢٣٤٫٥٠ and １２", {u"١٬٢٣٤٫٥٠", u"１２"}},
    };
    for (const Case& test : cases) {
        std::vector<std::u16string> numbers;
        NumberFinder finder(test.text);
        for (NumberSpan span = finder.next(); !span.isEmpty(); span = finder.next()) {
            numbers.push_back(test.text.substr(span.first, span.size()));
        }
        EXPECT_EQ(numbers, test.numbers) << toUtf8(test.text);
    }
}

TEST(LineBreaking, LongParagraphsBreakAsShortOnes) {
    const std::vector<std::u16string> lines =
        broken(std::u16string(40'000, u'字') + u"。\n一二三四五六七八\n九", 7);
    ASSERT_EQ(lines.size(), 5'718u);
    for (std::size_t i = 0; i < 5'714; ++i) ASSERT_EQ(lines[i], std::u16string(7, u'字')) << i;
    const std::vector<std::u16string> ends(lines.begin() + 5'714, lines.end());
    EXPECT_EQ(ends, (std::vector<std::u16string>{u"字字。|", u"一二三四五六七", u"八|", u"九|"}));
}

TEST(LineBreaking, WidthFollowsTheFontSize) {
    const FontSet& fonts = resolveFont(u"SimSun", false, false);
    EXPECT_EQ(breakLines(fonts, kSize, u"一二", 0).front().width, std::lround(2 * kEm));
    EXPECT_EQ(breakLines(fonts, 3 * kSize, u"一二  ", 0).front().width, std::lround(6 * kEm));
    EXPECT_EQ(breakLines(fonts, 0, u"一二", 10).size(), 1u);
}

}  // namespace
}  // namespace qbsvrl6

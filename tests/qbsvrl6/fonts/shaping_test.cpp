#include "qbsvrl6/fonts/shaping.h"

#include <gtest/gtest.h>
#include <hb.h>

#include <random>
#include <string>
#include <utility>

#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {
namespace {

// Shapes a run with HarfBuzz, without shortcuts.
std::vector<Glyph> reference(const GlyphRun& run, std::u16string_view line) {
    hb_buffer_t* buffer = hb_buffer_create();
    hb_buffer_add_utf16(buffer, reinterpret_cast<const std::uint16_t*>(line.data()),
                        static_cast<int>(line.size()), run.firstUnit, static_cast<int>(run.unitCount));
    hb_buffer_guess_segment_properties(buffer);
    hb_buffer_set_script(buffer, HB_SCRIPT_LATIN);
    const bool kana = line.find_first_of(u"かがアィーゃ") != line.npos;
    hb_buffer_set_language(buffer, hb_language_from_string(kana ? "ja" : "zh-hans", -1));
    hb_shape(run.member.face->font, buffer, nullptr, 0);
    unsigned count = 0;
    const hb_glyph_info_t* infos = hb_buffer_get_glyph_infos(buffer, &count);
    const hb_glyph_position_t* places = hb_buffer_get_glyph_positions(buffer, nullptr);
    const float scale = 1000.0f / static_cast<float>(run.member.face->unitsPerEm);
    std::vector<Glyph> glyphs;
    for (unsigned i = 0; i < count; ++i) {
        glyphs.push_back(
            {infos[i].codepoint, infos[i].cluster, static_cast<float>(places[i].x_advance) * scale,
             static_cast<float>(places[i].x_offset) * scale, static_cast<float>(places[i].y_offset) * scale});
    }
    hb_buffer_destroy(buffer);
    return glyphs;
}

void expectAsHarfBuzz(const FontSet& fonts, const std::u16string& text) {
    const ShapedTextPtr shaped = shape(fonts, text);
    float width = 0;
    std::uint32_t next = 0;
    for (const GlyphRun& run : shaped->runs) {
        ASSERT_EQ(run.firstUnit, next);
        next += run.unitCount;
        const std::vector<Glyph> expected = reference(run, text);
        ASSERT_EQ(run.glyphs.size(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            ASSERT_EQ(run.glyphs[i].id, expected[i].id) << i;
            ASSERT_EQ(run.glyphs[i].cluster, expected[i].cluster) << i;
            ASSERT_NEAR(run.glyphs[i].advance, expected[i].advance, 0.01) << i;
            ASSERT_NEAR(run.glyphs[i].xOffset, expected[i].xOffset, 0.01) << i;
            ASSERT_NEAR(run.glyphs[i].yOffset, expected[i].yOffset, 0.01) << i;
            width += expected[i].advance;
        }
    }
    ASSERT_EQ(next, text.size());
    ASSERT_NEAR(shaped->width, width, 0.1);
}

TEST(Shaping, EqualsHarfBuzzForAnyText) {
    // Kerned pairs, ligatures, ideographs, kana, punctuation that joins, marks, characters beyond the BMP.
    const std::u16string alphabets[] = {u"AVATo.,fiflWaY'1174 -/()%", u"fiAV中文，。（）「」１２ａ",
                                        u"かがアィーゃ、。AVfi", u"中——……“A”é字e\u0301",
                                        u"甲乙\U00020000\U0001F600丙x"};
    std::mt19937 random(7);
    for (const char16_t* family : {u"SimSun", u"黑体", u"Arial", u"Times New Roman", u"Verdana"}) {
        const FontSet& fonts = resolveFont(family, false, false);
        for (const std::u16string& alphabet : alphabets) {
            for (int round = 0; round < 60; ++round) {
                std::u16string text;
                const std::size_t length = 1 + random() % 14;
                while (text.size() < length) {
                    std::size_t at = random() % alphabet.size();
                    if ((alphabet[at] & 0xFC00) == 0xDC00) --at;
                    std::size_t end = at;
                    nextCharacter(alphabet, end);
                    text.append(alphabet, at, end - at);
                }
                SCOPED_TRACE(toUtf8(family) + ": " + toUtf8(text));
                expectAsHarfBuzz(fonts, text);
                if (HasFatalFailure()) return;
            }
        }
    }
}

// Selected by kana in the text or by the font's name; in all lines of a text, and nowhere else.
TEST(Shaping, DrawsJapaneseFormsInJapaneseText) {
    const auto formOf = [](const char16_t* family, std::u16string_view text,
                           TextLanguage language = TextLanguage::Unknown) {
        const FontSet& fonts = resolveFont(family, false, false, language);
        for (const TextLine& line : breakLines(fonts, 10, text, 10'000)) {
            for (const GlyphRun& run : line.shaped->runs) {
                for (const Glyph& glyph : run.glyphs) {
                    if (text[line.firstUnit + glyph.cluster] == u'直') return glyph.id;
                }
            }
        }
        return std::uint32_t{0};
    };
    for (const char16_t* family : {u"SimSun", u"SimHei"}) {
        const std::uint32_t chinese = formOf(family, u"直");
        const std::uint32_t japanese = formOf(family, u"直かな");
        EXPECT_NE(japanese, chinese);
        const std::pair<std::u16string_view, std::uint32_t> cases[] = {
            {u"直角", chinese},
            {u"直・角", chinese},
            {u"角度は直", japanese},
            {u"かな\n直", japanese},
            {u"直角直角直角直角かな", japanese},
            {u"abc カ 直", japanese},
        };
        for (const auto& [text, expected] : cases)
            EXPECT_EQ(formOf(family, text), expected) << toUtf8(family) << ' ' << toUtf8(text);
    }
    EXPECT_EQ(formOf(u"MS Mincho", u"直"), formOf(u"SimSun", u"直かな"));
    // An explicit language takes precedence over both.
    EXPECT_EQ(formOf(u"SimSun", u"直", TextLanguage::Japanese), formOf(u"SimSun", u"直かな"));
    EXPECT_EQ(formOf(u"SimSun", u"直かな", TextLanguage::Chinese), formOf(u"SimSun", u"直"));
    EXPECT_EQ(formOf(u"Meiryo", u"直"), formOf(u"SimHei", u"直かな"));
    EXPECT_EQ(formOf(u"SimHei", u"直"), formOf(u"Microsoft YaHei", u"直"));
}

TEST(Shaping, RunsFollowFontsAndDirections) {
    struct Case {
        const char16_t* family;
        std::u16string text;
        std::vector<std::uint32_t> runStarts;
    };
    const Case cases[] = {
        {u"Arial", u"", {}},
        {u"Arial", u"abc", {0}},
        {u"Arial", u"ab中文cd", {0, 2, 4}},
        {u"SimSun", u"ab中文cd", {0}},
        {u"SimSun", u"中\U00020000文", {0}},
        {u"SimSun", u"中\uFEFF文\u00ADx", {0}},              // invisible characters need no font
        {u"Arial", u"a\u0301\u4E2D\u0301", {0, 2}},          // marks stay with their base
        {u"Arial", u"ab \u0627\u0628 \u0629 x", {0, 3, 7}},  // Arabic words in one run with their space
    };
    for (const Case& c : cases) {
        const ShapedTextPtr shaped = shape(resolveFont(c.family, false, false), c.text);
        std::vector<std::uint32_t> starts;
        for (const GlyphRun& run : shaped->runs) starts.push_back(run.firstUnit);
        EXPECT_EQ(starts, c.runStarts) << toUtf8(c.text);
    }
}

TEST(Shaping, DrawsTextThatRunsBothWays) {
    // Capital letters represent Hebrew ones; shown from left to right as drawn.
    struct Case {
        const char* text;
        BaseDirection base;
        const char* drawn;
    };
    const Case cases[] = {
        {"ABC", BaseDirection::FirstStrong, "CBA"},
        {"abc DEF ghi", BaseDirection::FirstStrong, "abc FED ghi"},
        {"DEF abc GHI", BaseDirection::FirstStrong, "IHG abc FED"},
        {"DEF abc GHI", BaseDirection::LeftToRight, "FED abc IHG"},
        {"AB 12 CD", BaseDirection::FirstStrong, "DC 12 BA"},
        {"ab (CD) ef", BaseDirection::FirstStrong, "ab (DC) ef"},
        {"12.5 abc", BaseDirection::RightToLeft, "abc 12.5"},
        {"abc", BaseDirection::RightToLeft, "abc"},
        {"AB, cd!", BaseDirection::FirstStrong, "!cd ,BA"},
    };
    const FontSet& fonts = resolveFont(u"DejaVu Sans", false, false);
    for (const Case& c : cases) {
        std::u16string text;
        for (const char unit : std::string_view(c.text)) {
            const bool capital = unit >= 'A' && unit <= 'Z';
            text += static_cast<char16_t>(capital ? 0x5D0 + (unit - 'A') : unit);
        }
        std::string drawn;
        for (const GlyphRun& run : shape(fonts, text, c.base)->runs) {
            for (const Glyph& glyph : run.glyphs) drawn += c.text[glyph.cluster];
        }
        // Brackets change their shape, not their position.
        EXPECT_EQ(drawn, c.drawn) << c.text;
    }
    const std::uint32_t open = shape(fonts, u"(")->runs[0].glyphs[0].id;
    EXPECT_EQ(shape(fonts, u"\u05D0)")->runs[0].glyphs[0].id, open) << "as its mirror image";
}

TEST(Shaping, OddTextStaysDefined) {
    const FontSet& fonts = resolveFont(u"Arial", false, false);
    const float blank = shape(fonts, u" ")->width;
    EXPECT_GT(blank, 0);
    EXPECT_FLOAT_EQ(shape(fonts, u"\t")->width, blank);
    EXPECT_FLOAT_EQ(shape(fonts, std::u16string(1, u'\0'))->width, blank);
    EXPECT_FLOAT_EQ(shape(fonts, u"\u0301\t\u4E2D")->width, shape(fonts, u"\u0301 \u4E2D")->width);
    const std::u16string lone{u'a', char16_t{0xD800}, u'b', char16_t{0xDC00}};
    EXPECT_EQ(shape(fonts, lone)->runs.back().firstUnit + shape(fonts, lone)->runs.back().unitCount, 4u);
    const std::u16string huge(300'000, u'x');
    EXPECT_NEAR(shape(fonts, huge)->width, 300'000 * shape(fonts, u"x")->width, 1.0e3);
}

}  // namespace
}  // namespace qbsvrl6

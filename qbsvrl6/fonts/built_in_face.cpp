#include <hb.h>

#include <algorithm>
#include <iterator>
#include <string_view>

#include "qbsvrl6/fonts/font_face.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/enough_memory.h"

namespace qbsvrl6 {

namespace {

struct Range {
    char32_t first, last;
};

// Marks on other characters, joiners and variation selectors.
constexpr Range kWithoutWidth[] = {{0x300, 0x36F},    {0x591, 0x5BD},   {0x610, 0x61A},   {0x64B, 0x65F},
                                   {0x200B, 0x200F},  {0x202A, 0x202E}, {0x2060, 0x2064}, {0x20D0, 0x20FF},
                                   {0x3099, 0x309A},  {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}, {0xFEFF, 0xFEFF},
                                   {0xE0100, 0xE01EF}};

// Characters as wide as an em: ideographs, kana, Hangul, full-width forms, pictographs.
constexpr Range kFullWidth[] = {{0x1100, 0x115F},   {0x2E80, 0xA4CF},   {0xA960, 0xA97C}, {0xAC00, 0xD7A3},
                                {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},   {0xFF01, 0xFF60}, {0xFFE0, 0xFFE6},
                                {0x1F300, 0x1FAFF}, {0x20000, 0x3FFFD}, {0x2030, 0x2030}};

template <std::size_t N>
bool isIn(const Range (&ranges)[N], char32_t character) {
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [character](Range r) { return character >= r.first && character <= r.last; });
}

// In thousandths of an em, as in common sans-serif faces.
int widthOf(char32_t character) {
    if (isIn(kWithoutWidth, character)) return 0;
    if (isIn(kFullWidth, character)) return 1000;
    if (character >= 0x80) return 600;
    const auto isOneOf = [character](std::u32string_view set) { return set.find(character) != set.npos; };
    if (isOneOf(U"ijl|'")) return 230;
    if (isOneOf(U" !,.:;/\\I[]ft")) return 280;
    if (isOneOf(U"()`{}r-\"*")) return 340;
    if (isOneOf(U"mM")) return 840;
    if (isOneOf(U"%@W")) return 940;
    if (isOneOf(U"wCDGHNOQRU&")) return 720;
    if (isOneOf(U"cksvxyzJ")) return 510;
    return character >= U'A' && character <= U'Z' ? 660 : 560;
}

hb_bool_t nominalGlyph(hb_font_t*, void*, hb_codepoint_t character, hb_codepoint_t* glyph, void*) {
    *glyph = character;
    return 1;
}

hb_position_t advance(hb_font_t*, void*, hb_codepoint_t glyph, void*) { return widthOf(glyph); }

hb_blob_t* noTable(hb_face_t*, hb_tag_t, void*) { return hb_blob_get_empty(); }

std::unique_ptr<const FontFace> make() {
    auto face = std::make_unique<FontFace>();
    face->face = hb_face_create_for_tables(noTable, nullptr, nullptr);
    hb_face_set_upem(face->face, face->unitsPerEm);
    hb_face_set_glyph_count(face->face, 0x110000);
    hb_face_make_immutable(face->face);
    hb_font_funcs_t* const functions = hb_font_funcs_create();
    hb_font_funcs_set_nominal_glyph_func(functions, nominalGlyph, nullptr, nullptr);
    hb_font_funcs_set_glyph_h_advance_func(functions, advance, nullptr, nullptr);
    face->font = hb_font_create(face->face);
    hb_font_set_funcs(face->font, functions, nullptr, nullptr);
    hb_font_funcs_destroy(functions);
    hb_font_make_immutable(face->font);
    face->familyName = "built-in widths";
    face->ascent = 905;
    face->descent = 212;
    face->lineGap = 33;
    face->capHeight = 716;
    return face;
}

}  // namespace

std::unique_ptr<const FontFace> makeBuiltInFace() { return withEnoughMemory(make); }

}  // namespace qbsvrl6

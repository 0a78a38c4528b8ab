#include "qbsvrl6/fonts/character_table.h"

#include <hb.h>

#include <cstddef>
#include <vector>

#include "qbsvrl6/fonts/harfbuzz_run.h"

namespace qbsvrl6 {

namespace {

// Characters that do not interact with others: ideographs, kana, and their punctuation and full-width forms.
// Excluded are characters that join with adjacent ones: voiced sound marks, ideographic description, and the
// dashes and ellipses that occur in pairs.
bool standsAlone(char16_t unit) {
    return (unit >= 0x4E00 && unit <= 0x9FFF) || (unit >= 0x3400 && unit <= 0x4DBF) ||
           (unit >= 0x3000 && unit <= 0x3029) || (unit >= 0xFF01 && unit <= 0xFF5E);
}

// Tabs and other control characters are shown as spaces: fonts have boxes or nothing for them.
char16_t withoutControl(char16_t unit) { return unit < u' ' || unit == 0x7F ? u' ' : unit; }

}  // namespace

PlainCharacter CharacterTable::lookUp(char16_t unit, RunShaper& runs) const {
    const char16_t shown = withoutControl(unit);
    PlainCharacter character;
    character.kind = PlainCharacter::Kind::Complex;
    const bool ascii = shown < 0x7F;
    if (!ascii && !standsAlone(shown)) return character;
    for (std::size_t i = 0; const FontSet::Member* const member = fonts_.member(i); ++i) {
        const FontFace& face = *member->face;
        hb_codepoint_t glyph = 0;
        if (hb_font_get_nominal_glyph(face.font, shown, &glyph) == 0) continue;
        character.member = static_cast<std::uint16_t>(i);
        if (ascii) {
            std::vector<Glyph> glyphs;  // a font may have another form of the character for the language
            runs.shape(face, {&shown, 1}, 0, 1, HB_DIRECTION_LTR, glyphs);
            if (glyphs.size() != 1 || glyphs[0].xOffset != 0 || glyphs[0].yOffset != 0) break;
            character.glyph = glyphs[0].id;
            character.advance = glyphs[0].advance;
            character.kind = PlainCharacter::Kind::Ascii;
        } else {
            character.glyph = glyph;
            character.advance = static_cast<float>(hb_font_get_glyph_h_advance(face.font, glyph)) * 1000.0f /
                                static_cast<float>(face.unitsPerEm);
            character.kind = PlainCharacter::Kind::Alone;
        }
        break;
    }
    return character;
}

PairEffect CharacterTable::measurePair(char16_t first, char16_t second, RunShaper& runs) {
    PairEffect effect;
    const PlainCharacter left = character(first, runs);
    const PlainCharacter right = character(second, runs);
    effect.kind = PairEffect::Kind::Moves;
    if (left.member != right.member) return effect;
    const char16_t text[] = {withoutControl(first), withoutControl(second)};
    std::vector<Glyph> glyphs;
    runs.shape(*fonts_.member(left.member)->face, {text, 2}, 0, 2, HB_DIRECTION_LTR, glyphs);
    const bool same = glyphs.size() == 2 && glyphs[0].id == left.glyph && glyphs[1].id == right.glyph &&
                      glyphs[0].xOffset == 0 && glyphs[0].yOffset == 0 && glyphs[1].yOffset == 0;
    if (!same) {
        effect.kind = PairEffect::Kind::Complex;
        return effect;
    }
    effect.firstAdvance = glyphs[0].advance - left.advance;
    effect.secondAdvance = glyphs[1].advance - right.advance;
    effect.secondOffset = glyphs[1].xOffset;
    return effect;
}

}  // namespace qbsvrl6

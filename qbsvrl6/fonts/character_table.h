// One thread's cache of the characters of one font set: glyphs and advances of plain characters, and how
// adjacent ASCII characters move each other.
#ifndef QBSVR_QBSVRL6_FONTS_CHARACTER_TABLE_H
#define QBSVR_QBSVRL6_FONTS_CHARACTER_TABLE_H

#include <cstdint>

#include "qbsvrl6/fonts/font_library.h"
#include "qbsvrl6/support/sparse_table.h"

namespace qbsvrl6 {

struct PlainCharacter {
    enum class Kind : std::uint8_t {
        Unknown,
        Ascii,    // its position depends on adjacent ASCII characters: see PairEffect
        Alone,    // ideographs and their punctuation: one glyph, whatever is next to it
        Complex,  // left to HarfBuzz
    };
    std::uint32_t glyph = 0;
    float advance = 0;         // 1/1000 em
    std::uint16_t member = 0;  // of the font set
    Kind kind = Kind::Unknown;
};

class RunShaper;

// The change that HarfBuzz makes to two adjacent ASCII characters, in 1/1000 em.
struct PairEffect {
    enum class Kind : std::uint8_t { Unknown, Moves, Complex };
    float firstAdvance = 0;
    float secondAdvance = 0;
    float secondOffset = 0;
    Kind kind = Kind::Unknown;
};

class CharacterTable {
public:
    explicit CharacterTable(const FontSet& fonts) : fonts_(fonts) {}

    // `runs` belongs to the thread.
    const PlainCharacter& character(char16_t unit, RunShaper& runs) {
        PlainCharacter& known = characters_[unit];
        if (known.kind == PlainCharacter::Kind::Unknown) known = lookUp(unit, runs);
        return known;
    }

    // Both units must be of the kind Ascii.
    const PairEffect& pair(char16_t first, char16_t second, RunShaper& runs) {
        PairEffect& known = pairs_[(first & 0x7Fu) * 128 + (second & 0x7Fu)];
        if (known.kind == PairEffect::Kind::Unknown) known = measurePair(first, second, runs);
        return known;
    }

private:
    PlainCharacter lookUp(char16_t unit, RunShaper& runs) const;
    PairEffect measurePair(char16_t first, char16_t second, RunShaper& runs);

    const FontSet& fonts_;
    SparseTable<PlainCharacter, 64> characters_;
    SparseTable<PairEffect, 16> pairs_;
};

}  // namespace qbsvrl6

#endif

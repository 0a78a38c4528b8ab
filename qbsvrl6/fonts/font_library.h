// Fonts of the machine: found once by name, mapped once into memory, shared by all threads for the process's
// life.
#ifndef QBSVR_QBSVRL6_FONTS_FONT_LIBRARY_H
#define QBSVR_QBSVRL6_FONTS_FONT_LIBRARY_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/fonts/text_language.h"

struct hb_face_t;
struct hb_font_t;

namespace qbsvrl6 {

// One face of one font file. Immutable; every pointer stays good for the process's life.
struct FontFace {
    std::string file;
    int index = 0;  // in a collection
    std::string postScriptName;
    std::string familyName;
    std::string_view bytes;     // the whole mapped file
    hb_face_t* face = nullptr;  // made immutable
    hb_font_t* font = nullptr;  // at unitsPerEm, made immutable
    unsigned unitsPerEm = 1000;
    bool cff = false;  // outlines are CFF, else TrueType
    bool fixedPitch = false;
    bool serif = false;
    double italicAngle = 0;
    int ascent = 0, descent = 0, lineGap = 0;  // font units; descent is positive below the base line
    int capHeight = 0;
    int xMin = 0, yMin = 0, xMax = 0, yMax = 0;
};

// What a style asked for, resolved: the face of the family and the faces to fall back on for characters that
// it lacks. Where the family has no bold or italic face, painting synthesizes one.
struct FontSet {
    struct Member {
        const FontFace* face = nullptr;
        bool syntheticBold = false;
        bool syntheticItalic = false;
    };
    std::vector<Member> members;  // never empty; tried in order
    double ascent = 0;            // of the first member, in ems
    double descent = 0;
    double lineHeight = 0;
    TextLanguage language = TextLanguage::Unknown;  // that was asked for, or that the family's name implies
    bool isLanguageGiven = false;                   // asked for: the letters of a text do not matter

    // The member that has a glyph for the character, else another font of the machine that has one, else the
    // first member.
    const Member& memberFor(char32_t character) const;
};

// Resolves a family: itself where it is installed, else what the table of aliases puts in its place ("宋体"
// and "SimSun", "黑体", "楷体", "仿宋", "微软雅黑", "Arial" ...), else what the words in its name hint at;
// then the machine's fonts for Chinese and for symbols. Cached for the process under a lock; a thread's own
// cache answers repeated requests without it. A replaced family is logged once. Raises EngineError where the
// machine has no usable font at all. With a language, ideographs have its forms in any text.
const FontSet& resolveFont(const std::u16string& family, bool bold, bool italic,
                           TextLanguage language = TextLanguage::Unknown);

}  // namespace qbsvrl6

#endif

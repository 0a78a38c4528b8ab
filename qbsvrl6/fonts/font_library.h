// The fonts of the machine: each is found by name once, mapped into memory once, and shared by all threads
// for the life of the process.
#ifndef QBSVR_QBSVRL6_FONTS_FONT_LIBRARY_H
#define QBSVR_QBSVRL6_FONTS_FONT_LIBRARY_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/fonts/aliases.h"
#include "qbsvrl6/fonts/text_language.h"

struct hb_face_t;
struct hb_font_t;

namespace qbsvrl6 {

// One face of one font file. Immutable; all pointers are valid for the life of the process.
struct FontFace {
    FontFace() = default;
    ~FontFace();
    FontFace(const FontFace&) = delete;
    FontFace& operator=(const FontFace&) = delete;

    std::string file;
    int index = 0;  // in a collection
    std::string postScriptName;
    std::string familyName;
    std::string_view bytes;     // the whole mapped file; empty: only widths are known
    hb_face_t* face = nullptr;  // made immutable
    hb_font_t* font = nullptr;  // at unitsPerEm, made immutable
    unsigned unitsPerEm = 1000;
    bool cff = false;  // outlines are CFF; otherwise TrueType
    bool fixedPitch = false;
    bool serif = false;
    double italicAngle = 0;
    int ascent = 0, descent = 0, lineGap = 0;  // font units; descents are positive below the base line
    int typoAscent = 0, typoDescent = 0;
    int capHeight = 0;
    int xMin = 0, yMin = 0, xMax = 0, yMax = 0;
};

// The faces for the font of a style: that of the family, and those to fall back on for characters that it
// lacks. If the family has no bold or italic face, painting synthesizes one.
struct FontSet {
    struct Member {
        const FontFace* face = nullptr;
        bool syntheticBold = false;
        bool syntheticItalic = false;
    };
    Member first;
    double ascent = 0;  // of the first member, in ems
    double descent = 0;
    double lineHeight = 0;
    TextLanguage language = TextLanguage::Unknown;  // requested, or implied by the family's name
    bool isLanguageGiven = false;                   // requested: the letters of a text do not change it
    FamilyKind fallback = FamilyKind::Sans;         // of the further members
    bool bold = false;
    bool italic = false;

    // The members in the order in which they are tried; null after the last one. All but the first are opened
    // when one of them is first asked for: most texts don't need them. That raises MachineError or
    // std::bad_alloc, as resolveFont does.
    const Member* member(std::size_t index) const;

    // The first member with a glyph for the character, or else another font of the machine with one, or else
    // the first member.
    const Member& memberFor(char32_t character) const;

private:
    mutable std::atomic<const std::vector<Member>*> further_ = nullptr;
};

// Resolves a family: to itself if it is installed, or else to its substitute in the table of aliases ("宋体"
// and "SimSun", "黑体", "楷体", "仿宋", "微软雅黑", "Arial" ...), or else to a family that the words in its name
// suggest; followed by the machine's fonts for Chinese and for symbols. The process caches results under a
// lock; each thread caches them again, to avoid the lock. A replaced family is logged once. If the machine
// has no usable font at all, the face has only widths. Raises MachineError or std::bad_alloc if a font can't
// be opened at the moment, rather than use another typeface by chance. If a language is given, ideographs
// have its forms in any text.
const FontSet& resolveFont(const std::u16string& family, bool bold, bool italic,
                           TextLanguage language = TextLanguage::Unknown);

// The installed families and those that the program has added, sorted.
std::vector<std::string> fontFamilies();

// Raises MachineError for a face of which only widths are known.
void requireDrawable(const FontFace& face);

}  // namespace qbsvrl6

#endif

// Text as glyphs, and text broken into lines.
#ifndef QBSVR_QBSVRL6_FONTS_SHAPING_H
#define QBSVR_QBSVRL6_FONTS_SHAPING_H

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "qbsvrl6/fonts/font_library.h"
#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

// Distances are in 1/1000 em, so that one shaping serves every size.
struct Glyph {
    std::uint32_t id = 0;
    std::uint32_t cluster = 0;  // index of the first UTF-16 unit that the glyph represents
    float advance = 0;
    float xOffset = 0;
    float yOffset = 0;  // upwards
};

struct GlyphRun {
    FontSet::Member member;
    std::uint32_t firstUnit = 0;
    std::uint32_t unitCount = 0;
    std::vector<Glyph> glyphs;
};

struct ShapedText {
    std::vector<GlyphRun> runs;
    float width = 0;  // 1/1000 em
};

using ShapedTextPtr = std::shared_ptr<const ShapedText>;

// The way in which a paragraph runs as a whole.
enum class BaseDirection { FirstStrong, LeftToRight, RightToLeft };

// Shapes one line of text; control characters show as spaces. Runs and their glyphs come in the order in
// which they are drawn, from left to right. Ideographs have the forms of `language`; where it is unknown, of
// the language that the text's letters or the font's name imply, else of Chinese. Results come from a bounded
// cache of the calling thread.
ShapedTextPtr shape(const FontSet& fonts, std::u16string_view text,
                    BaseDirection base = BaseDirection::FirstStrong,
                    TextLanguage language = TextLanguage::Unknown);

// The width that shape() gives, without making glyphs.
float widthOf(const FontSet& fonts, std::u16string_view text);

// A span of text on one line; spaces at its end do not count in `unitCount`.
struct TextLine {
    std::uint32_t firstUnit = 0;
    std::uint32_t unitCount = 0;
    ShapedTextPtr shaped;
    Micrometres width = 0;
    bool endsParagraph = false;
};

// How a number (number_spans.h) that is wider than the line is broken.
enum class Numbers {
    Whole,  // it overflows, on a line to itself
    Cut,    // as any word
};

// Breaks text into lines no wider than `width` by the Unicode line breaking rules (UAX 14): CR, LF and CR LF
// always break; a word that is wider than the line is cut between characters. A width below 1 means
// unbounded. Empty text has no lines, and a line end at the text's end starts none.
std::vector<TextLine> breakLines(const FontSet& fonts, double fontSize, std::u16string_view text,
                                 Micrometres width, Numbers numbers = Numbers::Whole);

// The width of a text on one line.
Micrometres lineWidth(const FontSet& fonts, double fontSize, std::u16string_view text);

// Whether breakLines() gives one line for the text, which is no wider than `width`.
bool fitsOneLine(const FontSet& fonts, double fontSize, std::u16string_view text, Micrometres width);

}  // namespace qbsvrl6

#endif

// Converts text into glyphs and breaks it into lines.
#ifndef QBSVR_QBSVRL6_FONTS_SHAPING_H
#define QBSVR_QBSVRL6_FONTS_SHAPING_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "qbsvrl6/fonts/font_library.h"
#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

// Distances are in 1/1000 em, so that shaped text serves for every size.
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

// The direction of a paragraph as a whole.
enum class BaseDirection { FirstStrong, LeftToRight, RightToLeft };

// Shapes one line of text; control characters are shown as spaces. Runs and their glyphs are in drawing
// order, from left to right. Ideographs have the forms of `language`; if that is unknown, of the language
// that the letters of the text or the name of the font imply, or else of Chinese. Each thread has a bounded
// cache of results.
ShapedTextPtr shape(const FontSet& fonts, std::u16string_view text,
                    BaseDirection base = BaseDirection::FirstStrong,
                    TextLanguage language = TextLanguage::Unknown);

// The width of the result of shape(), without making glyphs.
float widthOf(const FontSet& fonts, std::u16string_view text);

// A span of text on one line. `unitCount` does not include spaces at its end.
struct TextLine {
    std::uint32_t firstUnit = 0;
    std::uint32_t unitCount = 0;
    ShapedTextPtr shaped;
    Micrometres width = 0;
    bool endsParagraph = false;
};

// How a number (number_spans.h) that is wider than the line is broken.
enum class Numbers {
    Whole,  // not at all: it has a line to itself and overflows
    Cut,    // as any word
};

// Breaks text into lines no wider than `width` by the Unicode line breaking rules (UAX 14): CR, LF and CR LF
// always break; a word that is wider than the line is cut between characters. A width below 1 means
// unbounded. Empty text has no lines, and a line end at the end of the text does not start another line.
std::vector<TextLine> breakLines(const FontSet& fonts, double fontSize, std::u16string_view text,
                                 Micrometres width, Numbers numbers = Numbers::Whole);

// The line that breakLines() returns if it returns one, no wider than `width`; nothing for other texts, and for
// long ones. A width is at least 1.
std::optional<TextLine> onlyLine(const FontSet& fonts, double fontSize, std::u16string_view text,
                                 Micrometres width);

// The width of a text on one line.
Micrometres lineWidth(const FontSet& fonts, double fontSize, std::u16string_view text);

// Whether breakLines() returns a single line no wider than `width`.
bool fitsOneLine(const FontSet& fonts, double fontSize, std::u16string_view text, Micrometres width);

}  // namespace qbsvrl6

#endif

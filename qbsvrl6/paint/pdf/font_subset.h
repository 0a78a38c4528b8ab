// Reduces font files to the glyphs that a document uses.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_FONT_SUBSET_H
#define QBSVR_QBSVRL6_PAINT_PDF_FONT_SUBSET_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "qbsvrl6/fonts/font_library.h"

namespace qbsvrl6 {

// The font of a PDF: a CFF table or a TrueType file, compressed.
struct EmbeddedFont {
    std::string bytes;
    std::size_t plainSize = 0;
    std::vector<std::uint32_t> newGlyphs;  // the number in the font of each requested glyph, in that order
};

// `keepNumbers`: glyphs keep their numbers, and unused glyphs are empty. Falls back to the whole font if the
// subsetter fails. The process keeps the last few, because documents of one template often need the same ones:
// the digits, and the letters of the titles.
std::shared_ptr<const EmbeddedFont> subsetFont(const FontFace& face, const std::vector<std::uint32_t>& glyphs,
                                               bool keepNumbers);

// The face with all its glyphs, extracted from its collection; `newGlyphs` is empty, since they keep their
// numbers. Compressing a Chinese font takes a quarter of a second and 20 MB, so the process keeps the last few.
std::shared_ptr<const EmbeddedFont> wholeFont(const FontFace& face);

}  // namespace qbsvrl6

#endif

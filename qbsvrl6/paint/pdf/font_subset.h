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

struct EmbeddedFont {
    std::string bytes;                     // a CFF table or a TrueType file
    std::vector<std::uint32_t> newGlyphs;  // the number in `bytes` of each requested glyph, in that order
};

// `keepNumbers`: glyphs keep their numbers, and unused glyphs are empty. Falls back to the whole font if the
// subsetter fails.
EmbeddedFont subsetFont(const FontFace& face, const std::vector<std::uint32_t>& glyphs, bool keepNumbers);

// The face with all its glyphs, extracted from its collection and compressed for a PDF. Compressing a Chinese
// font takes a quarter of a second and 20 MB, so the process caches the last few.
struct CompressedFont {
    std::string bytes;
    std::size_t plainSize = 0;
};
std::shared_ptr<const CompressedFont> compressedWholeFont(const FontFace& face);

}  // namespace qbsvrl6

#endif

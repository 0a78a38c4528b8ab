// Font files cut down to the glyphs that a document uses.
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
    std::string bytes;                     // a bare CFF table or a TrueType file
    std::vector<std::uint32_t> newGlyphs;  // for each glyph asked for, in that order, its number in `bytes`
};

// `keepNumbers`: glyphs keep their numbers, and those in between stay empty. Falls back to the whole font
// where the subsetter refuses it.
EmbeddedFont subsetFont(const FontFace& face, const std::vector<std::uint32_t>& glyphs, bool keepNumbers);

// The face with all its glyphs, taken out of its collection and compressed as a PDF wants it. A Chinese font
// takes a quarter of a second and 20 MB, so that the process keeps the last few for the exports to come.
struct CompressedFont {
    std::string bytes;
    std::size_t plainSize = 0;
};
std::shared_ptr<const CompressedFont> compressedWholeFont(const FontFace& face);

}  // namespace qbsvrl6

#endif

// Glyphs as grey masks, drawn by FreeType and cached per thread.
#ifndef QBSVR_QBSVRL6_PAINT_RASTER_GLYPH_MASKS_H
#define QBSVR_QBSVRL6_PAINT_RASTER_GLYPH_MASKS_H

#include <cstdint>
#include <vector>

#include "qbsvrl6/fonts/font_library.h"

namespace qbsvrl6 {

struct GlyphMask {
    int left = 0;  // of the first column, relative to the pixel of the glyph's origin
    int top = 0;   // of the first row, upwards from there
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> coverage;  // width * height; 255 is full ink
};

// How a glyph is drawn.
struct GlyphStyle {
    const FontSet::Member* member = nullptr;
    double pixelsPerEm = 12;
    double directionX = 1;  // of the text, as a unit vector with y downwards
    double directionY = 0;
};

// `fractionX` and `fractionY` (0 to 1) are the origin's position in its pixel, rounded to quarters. The mask
// is valid until the thread's next call. The mask of an unreadable glyph is empty. Raises MachineError for a
// face without a file.
const GlyphMask& glyphMask(const GlyphStyle& style, std::uint32_t glyph, double fractionX, double fractionY);

}  // namespace qbsvrl6

#endif

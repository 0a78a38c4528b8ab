// Shapes one run with HarfBuzz.
#ifndef QBSVR_QBSVRL6_FONTS_HARFBUZZ_RUN_H
#define QBSVR_QBSVRL6_FONTS_HARFBUZZ_RUN_H

#include <hb.h>

#include <string_view>
#include <vector>

#include "qbsvrl6/fonts/shaping.h"

namespace qbsvrl6 {

// Shapes the units [first, first + count) of a line in one face, with the rest of the line as context, and
// appends the glyphs. `scratch` is a buffer of the thread. Control characters must have been replaced. An
// unknown language counts as Chinese.
void shapeRun(const FontFace& face, std::u16string_view line, std::size_t first, std::size_t count,
              hb_direction_t direction, hb_buffer_t* scratch, std::vector<Glyph>& glyphs,
              TextLanguage language = TextLanguage::Unknown);

}  // namespace qbsvrl6

#endif

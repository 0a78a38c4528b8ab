// Text that runs from right to left, and text that runs both ways (UAX 9).
#ifndef QBSVR_QBSVRL6_FONTS_BIDI_H
#define QBSVR_QBSVRL6_FONTS_BIDI_H

#include <cstdint>
#include <string_view>
#include <vector>

#include "qbsvrl6/fonts/shaping.h"

namespace qbsvrl6 {

// Whether the text has characters that could make it run from right to left; a quick test.
bool mayRunRightToLeft(std::u16string_view text);

// The way in which a paragraph runs: that of its first strong character, else from left to right.
BaseDirection directionOf(std::u16string_view paragraph);

// The embedding level of each unit of a line: odd ones run from right to left.
std::vector<std::uint8_t> embeddingLevels(std::u16string_view line, BaseDirection base);

// Puts the runs of a line, of one level each, in the order in which they are drawn.
void toVisualOrder(std::vector<GlyphRun>& runs, std::vector<std::uint8_t> levels);

}  // namespace qbsvrl6

#endif

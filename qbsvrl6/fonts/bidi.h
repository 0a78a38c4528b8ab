// Right-to-left and bidirectional text (UAX 9).
#ifndef QBSVR_QBSVRL6_FONTS_BIDI_H
#define QBSVR_QBSVRL6_FONTS_BIDI_H

#include <cstdint>
#include <string_view>
#include <vector>

#include "qbsvrl6/fonts/shaping.h"

namespace qbsvrl6 {

// A quick test: false if no character of the text can run from right to left.
bool mayRunRightToLeft(std::u16string_view text);

// The direction of a paragraph: that of its first strong character, or else from left to right.
BaseDirection directionOf(std::u16string_view paragraph);

// The embedding level of each unit of a line. Odd levels run from right to left.
std::vector<std::uint8_t> embeddingLevels(std::u16string_view line, BaseDirection base);

// Sorts the runs of a line into drawing order. `levels` has the embedding level of each run.
void toVisualOrder(std::vector<GlyphRun>& runs, std::vector<std::uint8_t> levels);

}  // namespace qbsvrl6

#endif

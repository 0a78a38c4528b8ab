// Texts in their boxes: broken into lines, then placed.
#ifndef QBSVR_QBSVRL6_LAYOUT_TEXT_LAYOUT_H
#define QBSVR_QBSVRL6_LAYOUT_TEXT_LAYOUT_H

#include "qbsvrl6/items/item.h"
#include "qbsvrl6/layout/style_pool.h"

namespace qbsvrl6 {

// Whether the lines run along the height of their box.
bool isTurned(const ResolvedStyle& style);

// Breaks the item's text into lines for a box of this size, according to the style's fit, and sets the font
// size after shrinking. A number that is wider than the box shrinks, and is replaced by #### if it still does
// not fit. Returns the height that the box needs for all of a text that may grow, or 0 for other texts. A
// text whose lines fit needs at most the height of the box.
Micrometres breakText(TextItem& item, const PooledStyle& style, Size box);

// The same height, for sinks that draw no text: a text that fits on one line gets no lines.
Micrometres measureText(TextItem& item, const PooledStyle& style, Size box);

// Places the broken lines in the box, whose height may have grown by now. Leaves out lines that do not fit
// and returns their number. A single value is never cut: it becomes #### unless all of its lines fit. Turned
// numbers are fitted here.
std::size_t placeText(TextItem& item, const PooledStyle& style, Size box);

// A number in a box, measured at the font size of the style.
struct WideNumber {
    std::u16string_view text;  // of the item's
    Micrometres needed = 0;
    Micrometres available = 0;
};

// The widest number of the item's text, or the whole text if it is a lone value.
WideNumber widestNumber(const TextItem& item, const PooledStyle& style, Size box);

// The height of the lines in the box, without paddings.
Micrometres placedHeight(const TextItem& item, const PooledStyle& style);

// The width of a box that shows each paragraph of the text on one line.
Micrometres unbrokenWidth(std::u16string_view text, const PooledStyle& style);

// Divides a placed text between two lines: lines below the first `height` of the box move to `rest`, with
// their part of the text. With `atLeastOne`, one line stays even if it doesn't fit. Both texts are placed
// again. Returns the height that `rest` needs; 0 if all lines stay.
Micrometres splitText(TextItem& item, TextItem& rest, const PooledStyle& style, Size box, Micrometres height,
                      bool atLeastOne);

}  // namespace qbsvrl6

#endif

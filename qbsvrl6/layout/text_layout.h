// Texts in their boxes: broken into lines, then placed.
#ifndef QBSVR_QBSVRL6_LAYOUT_TEXT_LAYOUT_H
#define QBSVR_QBSVRL6_LAYOUT_TEXT_LAYOUT_H

#include "qbsvrl6/items/item.h"
#include "qbsvrl6/layout/style_pool.h"

namespace qbsvrl6 {

// Whether the lines run along the height of their box.
bool isTurned(const ResolvedStyle& style);

// Breaks the item's text into lines for a box of this size, as the style's fit says, and sets the font size
// after shrinking. A number that is wider than the box shrinks, and then shows as ####. Gives the height that
// the box needs to show all of a text that may grow, at least 0; a text that is as good as fitting needs the
// height of the box. Texts that do not grow need none.
Micrometres breakText(TextItem& item, const PooledStyle& style, Size box);

// The same height, for sinks that draw no text: a text that fits on one line gets no lines.
Micrometres measureText(TextItem& item, const PooledStyle& style, Size box);

// Gives the broken lines their position in the box, whose height may have grown by now. Lines that do not fit are
// left out: gives their number. One value is not cut there: it shows as #### unless all of its lines fit. Turned
// numbers have their last chance to fit.
std::size_t placeText(TextItem& item, const PooledStyle& style, Size box);

// A number in a box, at the size that the style asks for.
struct WideNumber {
    std::u16string_view text;  // of the item's
    Micrometres needed = 0;
    Micrometres available = 0;
};

// The widest number of the item's text, or all of it where it is a lone value.
WideNumber widestNumber(const TextItem& item, const PooledStyle& style, Size box);

// The height of what the lines take up in the box, without paddings.
Micrometres placedHeight(const TextItem& item, const PooledStyle& style);

// Divides a placed text between two lines: what does not fit into the first `height` of the box moves to `rest`,
// with its stretch of the text. With `atLeastOne`, one line stays even if it doesn't fit. Both are placed
// again. Gives the height that `rest` needs; 0 if all lines stay.
Micrometres splitText(TextItem& item, TextItem& rest, const PooledStyle& style, Size box, Micrometres height,
                      bool atLeastOne);

}  // namespace qbsvrl6

#endif

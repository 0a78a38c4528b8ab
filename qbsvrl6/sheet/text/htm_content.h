// Texts and pictures in the cells of HTML.
#ifndef QBSVR_QBSVRL6_SHEET_TEXT_HTM_CONTENT_H
#define QBSVR_QBSVRL6_SHEET_TEXT_HTM_CONTENT_H

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/items/item.h"
#include "qbsvrl6/items/unbroken_spans.h"

namespace qbsvrl6 {

// How a browser may wrap a text.
enum class Wrapping {
    None,      // not needed: the text fits on one line
    Any,       // anywhere except in its numbers
    Forbidden  // not at all: the text is a number
};

// Finds the numbers of a text that may not fit on one line, and shrinks the text if they must fit. A cell of the
// grid always has its full width; a free one is narrower on a phone.
Wrapping settleWrapping(Item& item, bool isPaged, std::vector<NumberSpan>& numbers);

// The attributes for the direction of the text, or else for the language of its style.
std::string_view languageAttributes(const Item& item);

// `numbers` are those of the text, if it may be wrapped.
void appendText(std::string& out, const Item& item, Wrapping wrapping, std::span<const NumberSpan> numbers);

// The first use of a picture contains its bytes; later uses refer to it by its id.
void appendPicture(std::string& out, const PictureItem& item, const Rect& box, bool isFirst);

}  // namespace qbsvrl6

#endif

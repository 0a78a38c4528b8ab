// The parts of a text that stay on one line in every document format: a number, date, amount or code that is
// broken into two lines reads as two different ones.
//
// Layout breaks its lines by these functions. Sinks that leave line breaks to their reader (HTML, RTF, cells
// that wrap) use them to forbid the same breaks.
#ifndef QBSVR_QBSVRL6_ITEMS_UNBROKEN_SPANS_H
#define QBSVR_QBSVRL6_ITEMS_UNBROKEN_SPANS_H

#include <cstddef>
#include <string>

#include "qbsvrl6/fonts/number_spans.h"
#include "qbsvrl6/items/item.h"
#include "qbsvrl6/support/ascii.h"

namespace qbsvrl6 {

// Whether the whole text is one value: a typed number or date, or one number or code.
inline bool isOneValue(const TextItem& item) {
    const ValueType type = item.value.type;
    return type == ValueType::Number || type == ValueType::Date || isLoneNumber(item.text);
}

// Whether a text that is one value may still be broken at its spaces: between the parts of a date, or before the
// words of a number's format ("12 pieces"), but not between groups of digits ("1 234 567").
inline bool breaksAtSpaces(const TextItem& item) {
    if (item.value.type == ValueType::Date) return !isLoneNumber(item.text);
    const std::u16string& text = item.text;
    bool found = false;
    for (std::size_t i = 1; i + 1 < text.size(); ++i) {
        if (text[i] != u' ') continue;
        if (isDigit(text[i - 1]) && isDigit(text[i + 1])) return false;
        found = true;
    }
    return found;
}

// Calls `take(first, end)` for each span of the item's text that stays on one line: positions in `text`,
// ascending, without overlaps. The text between the spans is broken as usual.
template <typename Take>
void forEachUnbrokenSpan(const TextItem& item, Take&& take) {
    if (!item.text.empty() && isOneValue(item) && !breaksAtSpaces(item)) {
        take(std::size_t{0}, item.text.size());
        return;
    }
    NumberFinder numbers(item.text);
    for (NumberSpan span = numbers.next(); !span.isEmpty(); span = numbers.next()) take(span.first, span.end);
}

}  // namespace qbsvrl6

#endif

// The parts of a text that stay on one line in every document format: a number, date, amount or code that is
// broken into two lines reads as two different ones.
//
// Layout breaks its lines by these functions. Sinks that leave line breaks to their reader (HTML, RTF, cells
// that wrap) use them to forbid the same breaks.
#ifndef QBSVR_QBSVRL6_ITEMS_UNBROKEN_SPANS_H
#define QBSVR_QBSVRL6_ITEMS_UNBROKEN_SPANS_H

#include <cstddef>
#include <string>
#include <vector>

#include "qbsvrl6/fonts/number_spans.h"
#include "qbsvrl6/items/item.h"
#include "qbsvrl6/support/ascii.h"

namespace qbsvrl6 {

inline bool formatsNumberOrDate(const TextItem& item) {
    return item.value.type == ValueType::Number || item.value.type == ValueType::Date;
}

// Whether the whole text is one value: a typed number or date, or one number or code.
inline bool isOneValue(const TextItem& item) { return formatsNumberOrDate(item) || isLoneNumber(item.text); }

// Whether a text that is one value may still be broken at its spaces: between the parts of a date, or before
// the words of a number's format ("12 pieces"), but not between groups of digits ("1 234 567").
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

// Replaces `spans` with those of the item's text that stay on one line: ascending, without overlaps. The text
// between them is broken as usual.
inline void findUnbrokenSpans(const TextItem& item, std::vector<NumberSpan>& spans) {
    spans.clear();
    if (!item.text.empty() && formatsNumberOrDate(item) && !breaksAtSpaces(item)) {
        spans.push_back({0, item.text.size()});
        return;
    }
    NumberFinder numbers(item.text);
    for (NumberSpan span = numbers.next(); !span.isEmpty(); span = numbers.next()) spans.push_back(span);
}

}  // namespace qbsvrl6

#endif

// Enumerated integer formats: "{1=男,2=女}" shows integer codes as words.
#ifndef QBSVR_FORMAT_INT_ENUM_FORMAT_H
#define QBSVR_FORMAT_INT_ENUM_FORMAT_H

#include <map>

#include "common/text.h"

namespace larkspur {

// Known to callers as ClkNumericFormatParser::ClkIntEnumAnalyser. Immutable in use, so that any number of
// threads may format with one object.
class ClkIntEnumAnalyser {
public:
    std::map<int, lkstr> m_Items;

    // Reads the whole text, braces included. Pieces without "=" are skipped, the last of equal keys wins, and
    // nothing is trimmed. Text that is null or not enclosed in braces gives an empty table.
    explicit ClkIntEnumAnalyser(const lkchar* text);

    // The word of the value, or its decimal digits when it has none.
    lkstr Format(int value) const;

    // The table as format text, in ascending order of the keys.
    lkstr GetFormatText() const;
};

}  // namespace larkspur

#endif

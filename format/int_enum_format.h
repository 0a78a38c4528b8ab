// Enumerated integer formats: "{1=男,2=女}" shows integer codes as words.
#ifndef QBSVR_FORMAT_INT_ENUM_FORMAT_H
#define QBSVR_FORMAT_INT_ENUM_FORMAT_H

#include <map>

#include "common/text.h"

namespace larkspur {

// Callers know it as ClkNumericFormatParser::ClkIntEnumAnalyser. Formatting does not change the object, so
// any number of threads may share it.
class ClkIntEnumAnalyser {
public:
    std::map<int, lkstr> m_Items;

    // Reads the whole text, braces included. Entries without "=" are skipped, the last of equal keys wins,
    // and nothing is trimmed. Text that is null or not enclosed in braces gives an empty table.
    explicit ClkIntEnumAnalyser(const lkchar* text);

    // The word for the value, or its decimal digits if there is none.
    lkstr Format(int value) const;

    // The table as format text, in ascending order of the keys.
    lkstr GetFormatText() const;
};

}  // namespace larkspur

#endif

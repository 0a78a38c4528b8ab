// Boolean formats: "真:假" names the words for true and false.
#ifndef QBSVR_FORMAT_BOOLEAN_FORMAT_H
#define QBSVR_FORMAT_BOOLEAN_FORMAT_H

#include "common/text.h"

namespace larkspur {

class ClkBooleanFormatParser {
public:
    lkstr m_FormatText;
    lkstr m_TrueText;
    lkstr m_FalseText;

    // Splits the text at its first ":"; without one the whole text is used for true and false is empty. Null
    // or empty text gives the local words.
    void Parse(const lkchar* format);
};

// g_c_LocalTrueText and g_c_LocalFalseText.
const lkstr& GetLocalTrueText();
const lkstr& GetLocalFalseText();

}  // namespace larkspur

#endif

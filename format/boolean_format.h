// Boolean formats: "真:假" gives the words for true and false.
#ifndef QBSVR_FORMAT_BOOLEAN_FORMAT_H
#define QBSVR_FORMAT_BOOLEAN_FORMAT_H

#include "common/text.h"

namespace larkspur {

class ClkBooleanFormatParser {
public:
    lkstr m_FormatText;
    lkstr m_TrueText;
    lkstr m_FalseText;

    // Splits the text at its first ":". Without one, the whole text is the word for true, and the word for
    // false is empty. Null or empty text gives the local words.
    void Parse(const lkchar* format);
};

// g_c_LocalTrueText and g_c_LocalFalseText.
const lkstr& GetLocalTrueText();
const lkstr& GetLocalFalseText();

}  // namespace larkspur

#endif

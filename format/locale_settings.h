// The process-wide texts that all formatting reads.
//
// A host may assign them, or call InitLocaleSettings, before any formatting starts; afterwards they are read
// from any thread without a lock. Each is a whole text: a separator of several units is written whole.
#ifndef QBSVR_FORMAT_LOCALE_SETTINGS_H
#define QBSVR_FORMAT_LOCALE_SETTINGS_H

#include "common/text.h"

namespace larkspur {

extern lkstr g_c_LocalTrueText;   // "是"
extern lkstr g_c_LocalFalseText;  // "否"
extern lkstr g_c_DecimalSep;      // "."
extern lkstr g_c_ThousandSep;     // ","
extern lkstr g_c_SCurrency;       // empty
extern lkstr g_c_DateSep;         // "-"
extern lkstr g_c_TimeSep;         // ":"

// Takes decimal point, monetary thousands separator and currency symbol from the C locale, empty ones
// included. A currency symbol of U+00A5 alone becomes its full-width form U+FFE5.
void InitLocaleSettings();

// Does nothing; for hosts that want a symmetric shut-down.
void UninitLocaleSettings();

}  // namespace larkspur

#endif

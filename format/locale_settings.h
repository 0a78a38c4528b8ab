// The process-wide texts that all formatting reads.
//
// A program may assign them, or call InitLocaleSettings, before any formatting starts; afterwards, all
// threads read them without a lock. A separator may have several units.
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

// Copies the decimal point, monetary thousands separator and currency symbol of the C locale, even if they
// are empty. The currency symbol U+00A5 becomes its full-width form U+FFE5.
void InitLocaleSettings();

// Does nothing; the counterpart of InitLocaleSettings.
void UninitLocaleSettings();

}  // namespace larkspur

#endif

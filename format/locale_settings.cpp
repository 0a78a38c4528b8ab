#include "format/locale_settings.h"

#include <clocale>
#include <cstring>

#include "common/unicode.h"

namespace larkspur {

lkstr g_c_LocalTrueText = u"是";
lkstr g_c_LocalFalseText = u"否";
lkstr g_c_DecimalSep = u".";
lkstr g_c_ThousandSep = u",";
lkstr g_c_SCurrency;
lkstr g_c_DateSep = u"-";
lkstr g_c_TimeSep = u":";

void InitLocaleSettings() {
    const auto decode = [](const char* text) {
        return Utf8ToUnicode(text, static_cast<int>(std::strlen(text)));
    };
    const std::lconv* const locale = std::localeconv();
    g_c_DecimalSep = decode(locale->decimal_point);
    g_c_ThousandSep = decode(locale->mon_thousands_sep);
    g_c_SCurrency = decode(locale->currency_symbol);
    if (g_c_SCurrency == u"\u00A5") g_c_SCurrency = u"\uFFE5";
}

void UninitLocaleSettings() {}

}  // namespace larkspur

// Date formats such as "yyyy-MM-dd HH:mm:ss", and a tolerant reader of dates.
#ifndef QBSVR_FORMAT_DATE_TIME_FORMAT_H
#define QBSVR_FORMAT_DATE_TIME_FORMAT_H

#include <locale>

#include "common/text.h"
#include "format/date_time.h"

namespace larkspur {

// A format is made of runs of one letter:
//
//     y yy     year of the century    h hh     hour, 1 to 12      d dd     day of the month
//     yyy yyyy year                   H HH     hour, 0 to 23      ddd      day's short name
//     M MM     month                  m mm     minute             dddd     day's name
//     MMM mmm  month's short name     s ss     second             / :      date and time separator
//     MMMM mmmm month's name          t        AM or PM           //       a slash
//     %d       the locale's date      %t       its time           %g       both
//
// Longer runs of y, M, m and d mean the same as the longest above; longer runs of h, H and s show nothing.
// Short forms have their leading zero too. Any other unit represents itself.
class ClkDateTimeFormatParser {
public:
    bool m_HasMonthInMinuteRun = false;  // a run of three or more "m" stood for a month's name
    lkstr m_FormatText;
    lkstr m_CFormat = u"%c";  // for ClkDateTime::Format

    // Null or empty text, or one that shows nothing, means "%c".
    void Parse(const lkchar* format);

    lkstr Format(const ClkDateTime& value) const;

    static const std::locale m_s_c_DefaultLocale;  // reserved
};

// Parses and formats in one call. To format many values, keep a parser.
lkstr FormatDateTime(const ClkDateTime& value, const lkchar* format);

// The finest unit of time that a format asks for: 0 year, 1 month, 2 day, 3 hour, 4 minute, 5 second or none.
// Only y, M, d, H and m are looked for.
int DecodeDateTimeFormatPrecision(const lkchar* format);

// Reads up to six numbers, whatever is between them, and finds out their order: 2024-03-05 12:34:56,
// 12:34:56 2024-03-05, 01/02/2024 (month first where it can be), 2024年十二月5日. A text without a date
// isn't accepted; null and empty ones aren't either. When ok is false the result is 1970-01-01.
ClkDateTime ParseDateTime(const lkchar* text, bool& ok);

}  // namespace larkspur

#endif

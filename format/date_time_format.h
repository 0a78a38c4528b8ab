// Date formats such as "yyyy-MM-dd HH:mm:ss", and a tolerant reader of dates.
#ifndef QBSVR_FORMAT_DATE_TIME_FORMAT_H
#define QBSVR_FORMAT_DATE_TIME_FORMAT_H

#include <locale>

#include "common/text.h"
#include "format/date_time.h"

namespace larkspur {

// A format consists of runs of one letter:
//
//     y yy     year of the century    h hh     hour, 1 to 12      d dd     day of the month
//     yyy yyyy year                   H HH     hour, 0 to 23      ddd      day's short name
//     M MM     month                  m mm     minute             dddd     day's name
//     MMM mmm  month's short name     s ss     second             / :      date and time separator
//     MMMM mmmm month's name          t        AM or PM           //       a slash
//     %d       the locale's date      %t       its time           %g       both
//
// Longer runs of y, M, m and d mean the same as the longest above; longer runs of h, H and s show nothing.
// One-letter forms also show leading zeros. Any other unit represents itself.
class ClkDateTimeFormatParser {
public:
    bool m_HasMonthInMinuteRun = false;  // three or more "m" were read as a month's name
    lkstr m_FormatText;
    lkstr m_CFormat = u"%c";  // for ClkDateTime::Format

    // Null or empty text, or one that shows nothing, means "%c".
    void Parse(const lkchar* format);

    lkstr Format(const ClkDateTime& value) const;

    static const std::locale m_s_c_DefaultLocale;  // reserved
};

// Parses and formats in one call. For many values, use a parser.
lkstr FormatDateTime(const ClkDateTime& value, const lkchar* format);

// The finest unit of time in a format: 0 year, 1 month, 2 day, 3 hour, 4 minute, 5 second or none. Only y, M,
// d, H and m are considered.
int DecodeDateTimeFormatPrecision(const lkchar* format);

// Reads up to six numbers, whatever separates them, and determines their order: 2024-03-05 12:34:56, 12:34:56
// 2024-03-05, 01/02/2024 (month first if possible), 2024年十二月5日. Text without a date is rejected, as are null
// and empty text: `ok` is false and the result is 1970-01-01.
ClkDateTime ParseDateTime(const lkchar* text, bool& ok);

}  // namespace larkspur

#endif

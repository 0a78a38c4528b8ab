// Reads texts of the data as dates.
#ifndef QBSVR_QBSVRL6_BIND_DATE_TEXT_H
#define QBSVR_QBSVRL6_BIND_DATE_TEXT_H

#include <cstdint>
#include <string_view>

namespace qbsvrl6 {

// Reads a text as a date and, before or after it, a time of day. `seconds` is the wall-clock time since
// 1970-01-01; no time zone is involved. The separators determine the order:
//
//     2024-03-05  2024/3/5  2024年3月5日  2024年三月5日    year first, if it is the first number
//     5.3.2024                                         day first, with points
//     3/5/2024  3-5-2024                               month first, with anything else
//     2024-03  2024年3月                                the first day of the month
//     14:30  14:30:09.5  14时30分  2:30 PM  下午2:30       times
//
// The year has four digits. Days that the month does not have, times from 24:00:01 and texts whose order is
// ambiguous are not dates. If the result is false, `seconds` is unchanged. Text without digits around the
// date, such as a weekday, and a zone after the time are ignored.
[[nodiscard]] bool parseDate(std::u16string_view text, std::int64_t& seconds);

}  // namespace qbsvrl6

#endif

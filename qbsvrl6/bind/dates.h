// Dates of expressions: seconds of wall-clock time since 1970-01-01. No time zone is involved.
#ifndef QBSVR_QBSVRL6_BIND_DATES_H
#define QBSVR_QBSVRL6_BIND_DATES_H

#include <cstdint>
#include <optional>

#include "qbsvrl6/support/clock.h"

namespace qbsvrl6 {

inline bool isWholeDay(std::int64_t seconds) { return seconds % kSecondsADay == 0; }
std::int64_t startOfDay(std::int64_t seconds);

// Midnight of a date; months and days out of range carry over. Empty for years outside the range of
// std::chrono.
[[nodiscard]] std::optional<std::int64_t> midnightOf(std::int64_t year, std::int64_t month, std::int64_t day);

// The same day and time so many months later; in a shorter month, the 31st becomes the last day.
[[nodiscard]] std::optional<std::int64_t> monthsLater(std::int64_t seconds, std::int64_t months);

}  // namespace qbsvrl6

#endif

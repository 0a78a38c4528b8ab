#ifndef QBSVR_QBSVRL6_SUPPORT_CLOCK_H
#define QBSVR_QBSVRL6_SUPPORT_CLOCK_H

#include <cstdint>

namespace qbsvrl6 {

inline constexpr std::int64_t kSecondsADay = 86'400;

// The current local time, including daylight saving time, in seconds since 1970-01-01 00:00:00 local time.
std::int64_t localTime();

}  // namespace qbsvrl6

#endif

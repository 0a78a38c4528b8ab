#ifndef QBSVR_QBSVRL6_SUPPORT_CLOCK_H
#define QBSVR_QBSVRL6_SUPPORT_CLOCK_H

#include <cstdint>

namespace qbsvrl6 {

inline constexpr std::int64_t kSecondsADay = 86'400;

// What a clock on the wall shows now, summer time included, as seconds since its own 1970-01-01 00:00:00.
std::int64_t localTime();

}  // namespace qbsvrl6

#endif

#include "qbsvrl6/support/clock.h"

#include <ctime>

namespace qbsvrl6 {

std::int64_t localTime() {
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    tzset();  // localtime_r alone may use the time zone of its first call
    return localtime_r(&now, &local) != nullptr ? now + local.tm_gmtoff : now;
}

}  // namespace qbsvrl6

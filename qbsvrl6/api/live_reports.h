// The set of existing reports, so that the handle of a released report reads as null.
#ifndef QBSVR_QBSVRL6_API_LIVE_REPORTS_H
#define QBSVR_QBSVRL6_API_LIVE_REPORTS_H

#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// Safe from any thread; threads rarely wait for each other's locks.
void addLiveReport(const Report* report);
void removeLiveReport(const Report* report) noexcept;
bool isLiveReport(const Report* report) noexcept;

}  // namespace qbsvrl6

#endif

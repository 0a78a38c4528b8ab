// Which reports are alive, so that the handle of a report that is gone reads as null.
#ifndef QBSVR_QBSVRL6_API_LIVE_REPORTS_H
#define QBSVR_QBSVRL6_API_LIVE_REPORTS_H

#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// Safe from any thread; reports of different threads seldom meet at a lock.
void addLiveReport(const Report* report);
void removeLiveReport(const Report* report) noexcept;
bool isLiveReport(const Report* report) noexcept;

}  // namespace qbsvrl6

#endif

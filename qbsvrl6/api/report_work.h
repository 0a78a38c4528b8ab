// A running export, or load of a template or data. It has a budget, and any thread may cancel it.
#ifndef QBSVR_QBSVRL6_API_REPORT_WORK_H
#define QBSVR_QBSVRL6_API_REPORT_WORK_H

#include <atomic>

#include "qbsvrl6/api/process_settings.h"
#include "qbsvrl6/api/runtime.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/reach.h"

namespace qbsvrl6 {

class ReportWork {
public:
    // Uses the budget and the reach of the report, or else those of the process.
    explicit ReportWork(const Runtime& runtime);
    ~ReportWork();
    ReportWork(const ReportWork&) = delete;
    ReportWork& operator=(const ReportWork&) = delete;

    // Cancels the work on this report, if any. May be called on any thread: it uses only the report's
    // address. Returns whether there was any.
    static bool cancel(const Report* report);

private:
    ReportWork(const Runtime& runtime, const ProcessSettings& settings);

    const Report* report_;
    std::atomic<bool> cancelled_ = false;
    Spending spending_;
    Reach reach_;
};

}  // namespace qbsvrl6

#endif

#include "qbreport/workers/worker_setup.h"

#include <sys/resource.h>

#include <algorithm>
#include <string_view>

#include "engine/qbsvr_more.h"
#include "qbreport/failure.h"
#include "qbreport/machine.h"

namespace qbreport {

void warmUp() {
    constexpr std::string_view kPage =
        "<Report version='1'><ReportHeader height='9mm'><Text width='90mm' height='9mm' text='0'/>"
        "</ReportHeader></Report>";
    tagQBReport* const report = QBReportCreate();
    const void* bytes = nullptr;
    std::uint64_t size = 0;
    // Whatever is wrong here, the first document reports.
    if (QBXReportLoadTemplate(report, kPage.data(), kPage.size(), "") != 0 &&
        QBXReportPrepareExport(report, "pdf") != 0) {
        QBXReportExportToMemory(report, &bytes, &size);
    }
    QBReportRelease(report);
    keepMemory();
}

void limitProcess(std::uint64_t memory) {
    const rlimit noCore{0, 0};  // a core would hold data of a request
    ::setrlimit(RLIMIT_CORE, &noCore);
#ifndef QBREPORT_SANITIZED
    const rlimit data{memory, memory};
    ::setrlimit(RLIMIT_DATA, &data);
#else
    static_cast<void>(memory);  // the sanitizers reserve terabytes
#endif
}

std::chrono::milliseconds limitTime() {
    QBXBudget budget{};
    budget.size = sizeof budget;
    if (QBXGetBudget(&budget) == 0) {
        throw Failure("the settings file has an error; see docs/settings.md");
    }
    constexpr std::uint64_t kDefault = 3'600'000;  // of the engine: made for whole batches
    constexpr std::uint64_t kUsual = 30'000;
    constexpr std::uint64_t kDay = 86'400'000;
    if (budget.wallMilliseconds == kDefault) {
        budget.wallMilliseconds = kUsual;
        QBXSetBudget(&budget);
    }
    constexpr std::chrono::seconds kGrace(2);
    return std::chrono::milliseconds(std::min(budget.wallMilliseconds, kDay)) + kGrace;
}

}  // namespace qbreport

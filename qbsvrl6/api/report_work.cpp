#include "qbsvrl6/api/report_work.h"

#include <mutex>
#include <unordered_map>

namespace qbsvrl6 {

namespace {

// The work that runs now. An event handler may load data while its report is exported.
struct Running {
    std::mutex mutex;
    std::unordered_multimap<const Report*, std::atomic<bool>*> flags;
};

Running& running() {
    static Running* const running = new Running;  // as long as any report
    return *running;
}

}  // namespace

ReportWork::ReportWork(const Runtime& runtime) : ReportWork(runtime, processSettings()) {}

namespace {

Spending::Watcher watcherOf(const Runtime& runtime) {
    if (runtime.onProgress == nullptr) return {};
    return [&runtime](const Progress& progress) {
        const QBXProgress shown{sizeof shown, progress.rows, progress.allRows, progress.pages,
                                progress.bytes};
        return runtime.onProgress == nullptr || runtime.onProgress(runtime.progressContext, &shown) != 0;
    };
}

}  // namespace

ReportWork::ReportWork(const Runtime& runtime, const ProcessSettings& settings)
    : report_(&runtime.report),
      spending_(runtime.budget ? *runtime.budget : settings.budget, &cancelled_, watcherOf(runtime)),
      reach_(runtime.reach ? runtime.reach : settings.reach) {
    Running& all = running();
    const std::lock_guard lock(all.mutex);
    all.flags.emplace(report_, &cancelled_);
}

ReportWork::~ReportWork() {
    Running& all = running();
    const std::lock_guard lock(all.mutex);
    const auto [first, last] = all.flags.equal_range(report_);
    for (auto entry = first; entry != last; ++entry) {
        if (entry->second == &cancelled_) {
            all.flags.erase(entry);
            return;
        }
    }
}

bool ReportWork::cancel(const Report* report) {
    Running& all = running();
    const std::lock_guard lock(all.mutex);
    const auto [first, last] = all.flags.equal_range(report);
    for (auto entry = first; entry != last; ++entry) entry->second->store(true, std::memory_order_relaxed);
    return first != last;
}

}  // namespace qbsvrl6

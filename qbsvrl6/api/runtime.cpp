#include "qbsvrl6/api/runtime.h"

#include <utility>

#include "qbsvrl6/api/live_reports.h"
#include "qbsvrl6/support/limits.h"

namespace qbsvrl6 {

Runtime::Runtime(Report& owner) : report(owner) { addLiveReport(&report); }

Runtime::~Runtime() { removeLiveReport(&report); }

void Runtime::forgetTemplate() {
    templateFile.clear();
    failedTemplate.clear();
    walk.clear();
    walkPosition = 0;
    prepared = false;
    loadedData.reset();
    dataCache.clear();
    printerUsed.clear();
}

BinaryObject* Runtime::keepResult(std::string bytes) {
    keptBytes_ += bytes.size();
    results_.push_back({std::move(bytes)});
    while (results_.size() > limits::kKeptResults && keptBytes_ > limits::kKeptBytes) {
        keptBytes_ -= results_.front().bytes.size();
        results_.pop_front();
    }
    return &results_.back();
}

void Runtime::dropResults() {
    results_.clear();
    keptBytes_ = 0;
}

Runtime& runtimeOf(Report& report) {
    if (!report.runtime) report.runtime = std::make_unique<Runtime>(report);
    return static_cast<Runtime&>(*report.runtime);
}

Runtime* findRuntime(Report& report) { return static_cast<Runtime*>(report.runtime.get()); }

}  // namespace qbsvrl6

#include "qbsvrl6/api/runtime.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdio>
#include <utility>

#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/support/limits.h"

namespace qbsvrl6 {

namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

}  // namespace

BinaryObject::~BinaryObject() {
    if (!mapped_.empty()) ::munmap(const_cast<char*>(mapped_.data()), mapped_.size());
}

bool BinaryObject::moveToFile() {
    const std::size_t size = memory_.size();
    const std::unique_ptr<std::FILE, CloseFile> file(size == 0 ? nullptr : std::tmpfile());
    if (!file || std::fwrite(memory_.data(), 1, size, file.get()) != size || std::fflush(file.get()) != 0) {
        return false;
    }
    void* const address = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, ::fileno(file.get()), 0);
    if (address == MAP_FAILED) return false;
    mapped_ = {static_cast<const char*>(address), size};
    memory_ = {};
    return true;
}

using quillbrook::tagQBReport;

Runtime::Runtime(Report& owner) : report(owner) { ownHandles.add({&report, kindOf<tagQBReport>()}); }

void Runtime::forgetTemplate() {
    templateHandles.clear();
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
    BinaryObject& result = results_.emplace_back(std::move(bytes));
    const std::size_t size = result.bytes().size();
    const bool fits =
        size <= limits::kResultBytesInMemory - std::min(bytesInMemory_, limits::kResultBytesInMemory);
    if (fits || !result.moveToFile()) bytesInMemory_ += size;
    return &result;
}

void Runtime::forgetHandles() noexcept {
    ownHandles.clear();
    templateHandles.clear();
    resultHandles.clear();
}

void Runtime::dropResults() {
    resultHandles.clear();
    results_.clear();
    bytesInMemory_ = 0;
}

Runtime& runtimeOf(Report& report) {
    if (!report.runtime) report.runtime = std::make_unique<Runtime>(report);
    return static_cast<Runtime&>(*report.runtime);
}

Runtime* findRuntime(Report& report) { return static_cast<Runtime*>(report.runtime.get()); }

}  // namespace qbsvrl6

#include "qbsvrl6/api/runtime.h"

#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"

namespace qbsvrl6 {

BinaryObject::BinaryObject(Spool bytes) {
    if (const TemporaryFile* const file = bytes.file()) {
        map(*file);
    } else {
        memory_ = bytes.take();
    }
}

BinaryObject::~BinaryObject() {
    if (!mapped_.empty()) ::munmap(const_cast<char*>(mapped_.data()), mapped_.size());
}

void BinaryObject::map(const TemporaryFile& file) {
    const auto size = static_cast<std::size_t>(file.size());
    void* const address = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, file.descriptor(), 0);
    if (address == MAP_FAILED) {
        throw MachineError("the document is not mapped into memory: " +
                           std::generic_category().message(errno));
    }
    mapped_ = {static_cast<const char*>(address), size};
}

bool BinaryObject::moveToFile() {
    if (!mapped_.empty()) return true;
    if (memory_.empty()) return false;
    try {
        TemporaryFile file("the document");
        file.append(memory_);
        map(file);
    } catch (const MachineError&) {
        return false;
    }
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

BinaryObject* Runtime::keepResult(Spool bytes) {
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

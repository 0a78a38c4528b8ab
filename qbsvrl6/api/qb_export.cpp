// Exports, prepared and direct, into memory and into files.
#include <string>
#include <utility>
#include <vector>

#include "qbsvrl6/api/export.h"
#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/files.h"
#include "qbsvrl6/support/utf.h"

using namespace qbsvrl6;
using namespace quillbrook;

namespace {

ExportOptions& directOptions(Runtime& runtime, tagQBExportType type) {
    refuseDuringExport(runtime.report);
    runtime.directOptions = {};
    runtime.directOptions.kind = static_cast<ExportKind>(type);
    return runtime.directOptions;
}

ExportOptions& preparedOptions(Runtime& runtime) {
    if (!runtime.prepared) throw EngineError(ErrorCode::NotSupported, "no export is prepared");
    return runtime.preparedOptions;
}

std::string fileNameOf(const ExportOptions& options) {
    if (options.fileName.empty()) throw EngineError(ErrorCode::FileUnwritable, "no file is named");
    return toUtf8(options.fileName);
}

// "a/b.png" of page 2 is "a/b-2.png".
std::string numbered(const std::string& file, std::size_t page) {
    const std::size_t dot = file.rfind('.');
    const bool hasEnding = dot != std::string::npos && file.find('/', dot) == std::string::npos;
    const std::size_t end = hasEnding ? dot : file.size();
    return file.substr(0, end) + "-" + std::to_string(page) + file.substr(end);
}

void exportToFile(Runtime& runtime, ExportOptions& options) {
    std::vector<std::string> furtherFiles;
    const std::string document = exportReport(runtime, options, &furtherFiles);
    const std::string file = fileNameOf(options);
    for (std::size_t i = 0; i < furtherFiles.size(); ++i) writeFile(numbered(file, i + 2), furtherFiles[i]);
    writeFile(file, document);
}

}  // namespace

tagQBBinaryObject* QBReportExportDirectToBinaryObject(tagQBReport* handle, tagQBExportType type) {
    return guarded("QBReportExportDirectToBinaryObject", static_cast<tagQBBinaryObject*>(nullptr),
                   [&]() -> tagQBBinaryObject* {
                       Report* report = reportFrom(handle);
                       if (report == nullptr) return nullptr;
                       Runtime& runtime = runtimeOf(*report);
                       std::string document = exportReport(runtime, directOptions(runtime, type));
                       return toHandle<tagQBBinaryObject>(runtime.keepResult(std::move(document)));
                   });
}

// The switches would show the options ahead and the document afterwards, on a machine with a desktop.
int QBReportExportDirect(tagQBReport* handle, tagQBExportType type, const lkchar* file, int, int) {
    return guarded("QBReportExportDirect", 0, [&] {
        Report* report = reportFrom(handle);
        if (report == nullptr) return 0;
        Runtime& runtime = runtimeOf(*report);
        ExportOptions& options = directOptions(runtime, type);
        options.fileName = textFrom(file);
        exportToFile(runtime, options);
        return 1;
    });
}

tagQBExportOption* QBReportPrepareExport(tagQBReport* handle, tagQBExportType type) {
    return guarded("QBReportPrepareExport", static_cast<tagQBExportOption*>(nullptr),
                   [&]() -> tagQBExportOption* {
                       Report* report = reportFrom(handle);
                       if (report == nullptr) return nullptr;
                       refuseDuringExport(*report);
                       Runtime& runtime = runtimeOf(*report);
                       runtime.preparedOptions = {};
                       runtime.preparedOptions.kind = static_cast<ExportKind>(type);
                       runtime.prepared = true;
                       return toHandle<tagQBExportOption>(&runtime.preparedOptions);
                   });
}

tagQBBinaryObject* QBReportExportToBinaryObject(tagQBReport* handle) {
    return guarded("QBReportExportToBinaryObject", static_cast<tagQBBinaryObject*>(nullptr),
                   [&]() -> tagQBBinaryObject* {
                       Report* report = reportFrom(handle);
                       if (report == nullptr) return nullptr;
                       Runtime& runtime = runtimeOf(*report);
                       std::string document = exportReport(runtime, preparedOptions(runtime));
                       return toHandle<tagQBBinaryObject>(runtime.keepResult(std::move(document)));
                   });
}

// The switch would show the options ahead, on a machine with a desktop.
int QBReportExport(tagQBReport* handle, int) {
    return guarded("QBReportExport", 0, [&] {
        Report* report = reportFrom(handle);
        if (report == nullptr) return 0;
        Runtime& runtime = runtimeOf(*report);
        ExportOptions& options = preparedOptions(runtime);
        exportToFile(runtime, options);
        return 1;
    });
}

int QBReportUnprepareExport(tagQBReport* handle) {
    return guarded("QBReportUnprepareExport", 0, [&] {
        Report* report = reportFrom(handle);
        if (report == nullptr) return 0;
        refuseDuringExport(*report);
        Runtime& runtime = runtimeOf(*report);
        runtime.dropResults();
        return std::exchange(runtime.prepared, false) ? 1 : 0;
    });
}

int QBBinaryObjectGetDataSize(tagQBBinaryObject* handle) {
    const BinaryObject* object = fromHandle(handle);
    return object == nullptr ? 0 : static_cast<int>(object->bytes.size());
}

const void* QBBinaryObjectGetDataBuf(tagQBBinaryObject* handle) {
    const BinaryObject* object = fromHandle(handle);
    return object == nullptr ? nullptr : object->bytes.data();
}

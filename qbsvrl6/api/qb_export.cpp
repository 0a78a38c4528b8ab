// Exports, prepared and direct, into memory and into files.
#include <string>
#include <utility>

#include "qbsvrl6/api/export.h"
#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/support/error.h"
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

}  // namespace

tagQBBinaryObject* QBReportExportDirectToBinaryObject(tagQBReport* handle, tagQBExportType type) {
    return withObject(__func__, handle, [&](Report& report) {
        Runtime& runtime = runtimeOf(report);
        Spool document = exportReport(runtime, directOptions(runtime, type));
        return toHandle<tagQBBinaryObject>(runtime.keepResult(std::move(document)), runtime);
    });
}

// The switches ask for a dialog of the options and for a view of the document: there is no desktop here.
int QBReportExportDirect(tagQBReport* handle, tagQBExportType type, const lkchar* file, int, int) {
    return withObject(__func__, handle, [&](Report& report) {
        Runtime& runtime = runtimeOf(report);
        std::u16string fileName = textFrom(file);
        ExportOptions& options = directOptions(runtime, type);
        options.fileName = std::move(fileName);
        exportToFile(runtime, options);
        return 1;
    });
}

tagQBExportOption* QBReportPrepareExport(tagQBReport* handle, tagQBExportType type) {
    return withObject(__func__, handle, [&](Report& report) {
        refuseDuringExport(report);
        Runtime& runtime = runtimeOf(report);
        runtime.preparedOptions = {};
        runtime.preparedOptions.kind = static_cast<ExportKind>(type);
        runtime.prepared = true;
        return toHandle<tagQBExportOption>(&runtime.preparedOptions, runtime);
    });
}

tagQBBinaryObject* QBReportExportToBinaryObject(tagQBReport* handle) {
    return withObject(__func__, handle, [](Report& report) {
        Runtime& runtime = runtimeOf(report);
        Spool document = exportReport(runtime, preparedOptions(runtime));
        return toHandle<tagQBBinaryObject>(runtime.keepResult(std::move(document)), runtime);
    });
}

// The switch asks for a dialog of the options: there is no desktop here.
int QBReportExport(tagQBReport* handle, int) {
    return withObject(__func__, handle, [](Report& report) {
        Runtime& runtime = runtimeOf(report);
        exportToFile(runtime, preparedOptions(runtime));
        return 1;
    });
}

int QBReportUnprepareExport(tagQBReport* handle) {
    return withObject(__func__, handle, [](Report& report) {
        refuseDuringExport(report);
        Runtime& runtime = runtimeOf(report);
        runtime.dropResults();
        return std::exchange(runtime.prepared, false) ? 1 : 0;
    });
}

int QBBinaryObjectGetDataSize(tagQBBinaryObject* handle) {
    return withObject(__func__, handle,
                      [](const BinaryObject& object) { return static_cast<int>(object.bytes().size()); });
}

const void* QBBinaryObjectGetDataBuf(tagQBBinaryObject* handle) {
    return withObject(__func__, handle, [](const BinaryObject& object) {
        return static_cast<const void*>(object.bytes().data());
    });
}

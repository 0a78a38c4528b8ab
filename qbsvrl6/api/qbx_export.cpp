// Exports by the names of formats and options, to files, memory and writers; progress and cancellation.
#include <algorithm>
#include <string>
#include <utility>

#include "engine/qbsvr_more.h"
#include "qbsvrl6/api/export.h"
#include "qbsvrl6/api/formats.h"
#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/api/report_work.h"
#include "qbsvrl6/api/structures.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/utf.h"

using namespace qbsvrl6;

int QBXGetFormat(uint64_t index, QBXFormat* format) {
    return guarded(__func__, 0, [&] {
        if (index >= formats().size()) return 0;
        const Format& known = formats()[static_cast<std::size_t>(index)];
        return give(format, QBXFormat{0, known.name.data(), known.description.data()}) ? 1 : 0;
    });
}

int QBXReportPrepareExport(tagQBReport* handle, const char* format) {
    return withObject(__func__, handle, [&](Report& report) {
        refuseDuringExport(report);
        Runtime& runtime = runtimeOf(report);
        runtime.preparedOptions = optionsFor(textOf(format));
        runtime.prepared = true;
        return 1;
    });
}

int QBXReportSetExportOption(tagQBReport* handle, const char* name, const char* value) {
    return withObject(__func__, handle, [&](Report& report) {
        refuseDuringExport(report);
        setOption(preparedOptions(runtimeOf(report)), textOf(name), textOf(value));
        return 1;
    });
}

int QBXExportOptionSet(tagQBExportOption* handle, const char* name, const char* value) {
    return withObject(__func__, handle, [&](ExportOptions& options) {
        setOption(options, textOf(name), textOf(value));
        return 1;
    });
}

int QBXReportExportToFile(tagQBReport* handle, const char* path) {
    return withObject(__func__, handle, [&](Report& report) {
        Runtime& runtime = runtimeOf(report);
        ExportOptions& options = preparedOptions(runtime);
        options.fileName = toUtf16(textOf(path));
        exportToFile(runtime, options);
        return 1;
    });
}

int QBXReportExportToMemory(tagQBReport* handle, const void** bytes, uint64_t* size) {
    return withObject(__func__, handle, [&](Report& report) {
        if (bytes == nullptr || size == nullptr) return 0;
        Runtime& runtime = runtimeOf(report);
        Spool document = exportReport(runtime, preparedOptions(runtime));
        const std::string_view kept = runtime.keepResult(std::move(document))->bytes();
        *bytes = kept.data();
        *size = kept.size();
        return 1;
    });
}

int QBXReportExportToWriter(tagQBReport* handle, QBXWrite write, void* context) {
    return withObject(__func__, handle, [&](Report& report) {
        if (write == nullptr) return 0;
        constexpr std::uint64_t kPart = 1u << 20;
        Runtime& runtime = runtimeOf(report);
        const Spool document = exportReport(runtime, preparedOptions(runtime));
        std::string part(static_cast<std::size_t>(std::min(document.size(), kPart)), '\0');
        for (std::uint64_t at = 0; at < document.size(); at += part.size()) {
            part.resize(document.read(at, part.data(), part.size()));
            if (write(context, part.data(), part.size()) == 0) {
                throw EngineError(ErrorCode::FileUnwritable, "the program did not take the document");
            }
        }
        return 1;
    });
}

uint64_t QBXReportGetPageCount(tagQBReport* handle) {
    return withObject(__func__, handle, [](Report& report) { return runtimeOf(report).pageCount; });
}

void QBXReportSetProgress(tagQBReport* handle, QBXOnProgress progress, void* context) {
    withObject(__func__, handle, [&](Report& report) {
        runtimeOf(report).onProgress = progress;
        runtimeOf(report).progressContext = context;
    });
}

int QBXReportCancel(tagQBReport* handle) {
    return guarded(__func__, 0,
                   [&] { return ReportWork::cancel(reinterpret_cast<const Report*>(handle)) ? 1 : 0; });
}

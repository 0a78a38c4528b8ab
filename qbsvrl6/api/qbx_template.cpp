// QBXReportLoadTemplateFile, QBXReportLoadTemplate, QBXReportCheck, QBXReportLocateItems.
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "engine/qbsvr_more.h"
#include "qbsvrl6/api/export.h"
#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/api/item_locator.h"
#include "qbsvrl6/api/load_template.h"
#include "qbsvrl6/template/template_io.h"

using namespace qbsvrl6;

namespace {

int isGood(Report& report, std::unique_ptr<PageSink> pages) {
    const Messages& messages = runtimeOf(report).messages;
    const std::size_t before = messages.errorCount();
    checkReport(runtimeOf(report), std::move(pages));
    return messages.errorCount() == before ? 1 : 0;
}

}  // namespace

int QBXReportLoadTemplateFile(tagQBReport* handle, const char* path) {
    return withObject(__func__, handle, [&](Report& report) {
        loadInto(report, textOf(path), loadTemplate);
        return 1;
    });
}

int QBXReportLoadTemplate(tagQBReport* handle, const void* bytes, uint64_t size, const char* name) {
    return withObject(__func__, handle, [&](Report& report) {
        if (bytes == nullptr) return 0;
        const std::string_view text(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
        loadInto(report, textOf(name), [&](const std::string& file) { return readTemplate(text, file); });
        return 1;
    });
}

int QBXReportCheck(tagQBReport* handle) {
    return withObject(__func__, handle, [](Report& report) { return isGood(report, nullptr); });
}

int QBXReportLocateItems(tagQBReport* handle, QBXOnShownItem take, void* context) {
    return withObject(__func__, handle, [&](Report& report) {
        return take == nullptr ? 0 : isGood(report, makeItemLocator(take, context));
    });
}

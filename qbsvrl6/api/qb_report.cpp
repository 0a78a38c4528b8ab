// QBReportCreate, QBReportRelease, QBObjectAssign; loading and saving.
#include <string>
#include <utility>

#include "qbsvrl6/api/export.h"
#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/template/template_io.h"

using namespace qbsvrl6;
using namespace quillbrook;

namespace {

// What hangs from the old definition goes with it; so does what was kept for the caller.
void replaceDefinition(Report& report, ReportDefinition&& definition) {
    runtimeOf(report).forgetTemplate();
    report.definition = std::move(definition);
}

}  // namespace

tagQBReport* QBReportCreate() {
    return guarded("QBReportCreate", static_cast<tagQBReport*>(nullptr), [] {
        auto report = std::make_unique<Report>();
        runtimeOf(*report).created = true;
        return toHandle<tagQBReport>(report.release());
    });
}

void QBReportRelease(tagQBReport* handle) {
    guarded("QBReportRelease", [&] {
        Report* report = reportFrom(handle);
        if (report == nullptr) return;
        if (runtimeOf(*report).created) {
            releaseReport(report);
        } else {
            logWarning("QBReportRelease: a sub-report belongs to its parent and stays");
        }
    });
}

void QBObjectAssign(tagQBReport* target, tagQBReport* source) {
    guarded("QBObjectAssign", [&] {
        Report* to = reportFrom(target);
        Report* from = reportFrom(source);
        if (to == nullptr || from == nullptr || to == from) return;
        refuseDuringExport(*to);
        // The source may be a part of the target: it is copied whole before that goes.
        std::string templateFile = runtimeOf(*from).templateFile;
        replaceDefinition(*to, cloneDefinition(from->definition));
        runtimeOf(*to).templateFile = std::move(templateFile);
    });
}

int QBReportLoadFromFile(tagQBReport* handle, const lkchar* path) {
    return guarded("QBReportLoadFromFile", 0, [&] {
        Report* report = reportFrom(handle);
        if (report == nullptr) return 0;
        refuseDuringExport(*report);
        // A report whose template doesn't load is empty: it must not pass for the one that was there before.
        replaceDefinition(*report, {});
        const std::string file = toUtf8(textFrom(path));
        Runtime& runtime = runtimeOf(*report);
        runtime.failedTemplate = file;
        report->definition = loadTemplate(file);
        runtime.failedTemplate.clear();
        runtime.templateFile = file;
        return 1;
    });
}

int QBReportSaveToFile(tagQBReport* handle, const lkchar* path) {
    return guarded("QBReportSaveToFile", 0, [&] {
        const Report* report = reportFrom(handle);
        if (report == nullptr) return 0;
        saveTemplate(report->definition, toUtf8(textFrom(path)));
        return 1;
    });
}

void QBReportSetBackImageFile(tagQBReport* handle, const lkchar* path) {
    guarded("QBReportSetBackImageFile", [&] {
        if (Report* report = reportFrom(handle)) report->definition.backgroundPicture = addressFrom(path);
    });
}

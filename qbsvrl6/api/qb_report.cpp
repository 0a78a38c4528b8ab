// QBReportCreate, QBReportRelease, QBObjectAssign; loading and saving.
#include <string>
#include <utility>

#include "qbsvrl6/api/export.h"
#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/api/load_template.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/template/template_io.h"

using namespace qbsvrl6;
using namespace quillbrook;

tagQBReport* QBReportCreate() {
    return guarded(__func__, static_cast<tagQBReport*>(nullptr), [] {
        auto report = std::make_unique<Report>();
        Runtime& runtime = runtimeOf(*report);
        runtime.created = true;
        return toHandle<tagQBReport>(report.release(), runtime);
    });
}

void QBReportRelease(tagQBReport* handle) {
    withObject(__func__, handle, [](Report& report) {
        if (runtimeOf(report).created) {
            releaseReport(&report);
        } else {
            logWarning("QBReportRelease: a sub-report belongs to its parent and stays");
        }
    });
}

void QBObjectAssign(tagQBReport* target, tagQBReport* source) {
    withObject(__func__, target, [&](Report& to) {
        Report* from = fromHandle(source);
        if (from == nullptr || &to == from) return;
        refuseDuringExport(to);
        // The source may be a part of the target: it is copied before the target's definition is replaced.
        replaceDefinition(to, ReportDefinition(from->definition), runtimeOf(*from).templateFile);
    });
}

int QBReportLoadFromFile(tagQBReport* handle, const lkchar* path) {
    return withObject(__func__, handle, [&](Report& report) {
        // A copy: the text may belong to the template that is replaced.
        loadInto(report, toUtf8(textFrom(path)), loadTemplate);
        return 1;
    });
}

int QBReportSaveToFile(tagQBReport* handle, const lkchar* path) {
    return withObject(__func__, handle, [&](const Report& report) {
        saveTemplate(report.definition, toUtf8(textFrom(path)));
        return 1;
    });
}

void QBReportSetBackImageFile(tagQBReport* handle, const lkchar* path) {
    withObject(__func__, handle,
               [&](Report& report) { report.definition.backgroundPicture = addressFrom(path); });
}

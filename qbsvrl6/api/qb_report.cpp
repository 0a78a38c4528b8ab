// QBReportCreate, QBReportRelease, QBObjectAssign; loading and saving.
#include <string>
#include <utility>

#include "qbsvrl6/api/export.h"
#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/api/report_data.h"
#include "qbsvrl6/api/report_work.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/template/template_io.h"

using namespace qbsvrl6;
using namespace quillbrook;

namespace {

// Sets the depth of each sub-report; `depth` is that of the report with this definition.
void setDepths(ReportDefinition& definition, int depth) {
    forEachSubReport(definition, [&](Control&, Report& inner) {
        inner.depth = depth + 1;
        if (inner.depth > limits::kSubReportDepth) {
            throw EngineError(ErrorCode::LimitExceeded, "sub-reports are nested deeper than " +
                                                            std::to_string(limits::kSubReportDepth));
        }
        setDepths(inner.definition, inner.depth);
    });
}

// What belongs to the old definition goes with it, except for results of exports.
void replaceDefinition(Report& report, ReportDefinition&& definition, std::string templateFile) {
    setDepths(definition, report.depth);
    Runtime& runtime = runtimeOf(report);
    runtime.forgetTemplate();
    runtime.templateFile = std::move(templateFile);
    report.definition = std::move(definition);
}

}  // namespace

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
        refuseDuringExport(report);
        const ReportWork work(runtimeOf(report));
        const std::string file = toUtf8(textFrom(path));  // before the text goes with the template
        // A report whose template doesn't load is empty: it must not be mistaken for the one before.
        replaceDefinition(report, {}, {});
        runtimeOf(report).failedTemplate = file;
        replaceDefinition(report, loadTemplate(file), file);
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

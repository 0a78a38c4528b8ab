#include "qbsvrl6/api/load_template.h"

#include <utility>

#include "qbsvrl6/api/export.h"
#include "qbsvrl6/api/report_data.h"
#include "qbsvrl6/api/report_work.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"

namespace qbsvrl6 {

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

}  // namespace

void replaceDefinition(Report& report, ReportDefinition&& definition, std::string templateFile) {
    setDepths(definition, report.depth);
    Runtime& runtime = runtimeOf(report);
    runtime.forgetTemplate();
    runtime.templateFile = std::move(templateFile);
    report.definition = std::move(definition);
}

void loadInto(Report& report, const std::string& file,
              const std::function<ReportDefinition(const std::string& file)>& load) {
    refuseDuringExport(report);
    const ReportWork work(runtimeOf(report));
    replaceDefinition(report, {}, {});
    runtimeOf(report).failedTemplate = file;
    replaceDefinition(report, load(file), file);
}

}  // namespace qbsvrl6

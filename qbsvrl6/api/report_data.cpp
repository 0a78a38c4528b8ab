#include "qbsvrl6/api/report_data.h"

#include "qbsvrl6/api/runtime.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

// The data of a source, or null where it leaves its data open.
std::shared_ptr<const DataSet> dataOf(const DataSource& source, const std::string& directory,
                                      DataCache& cache) {
    if (source.connectionString.empty()) return nullptr;
    if (source.connectionString != u"xml") {
        throw EngineError(ErrorCode::NotSupported, "the connection \"" + toUtf8(source.connectionString) +
                                                       "\" is of no kind that this engine knows");
    }
    return source.query.empty() ? nullptr : cache.get(source.query, directory);
}

void collect(Report& report, DataCache& cache, ReportData& data) {
    ReportDefinition& definition = report.definition;
    const Runtime* runtime = findRuntime(report);
    const bool loaded = runtime != nullptr && runtime->loadedData;
    if (auto set = loaded ? runtime->loadedData : dataOf(definition.data, definition.directory, cache)) {
        data.sets[&definition] = std::move(set);
    }
    if (definition.grid && !loaded) {
        if (auto set = dataOf(definition.grid->recordset, definition.directory, cache)) {
            data.gridSets[definition.grid.get()] = std::move(set);
        }
    }
    forEachSubReport(definition, [&](Control&, Report& inner) { collect(inner, cache, data); });
}

}  // namespace

ReportData collectData(Report& report) {
    ReportData data;
    collect(report, runtimeOf(report).dataCache, data);
    return data;
}

void forEachSubReport(ReportDefinition& report, const std::function<void(Control&, Report&)>& visit) {
    for (Control* control : allControls(report)) {
        if (auto* content = std::get_if<SubReportContent>(&control->content))
            visit(*control, *content->report);
    }
}

}  // namespace qbsvrl6

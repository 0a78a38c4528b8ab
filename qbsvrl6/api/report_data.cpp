#include "qbsvrl6/api/report_data.h"

#include <optional>

#include "qbsvrl6/api/runtime.h"
#include "qbsvrl6/model/connection.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

// The connection of a source: its own, or that of the report around it.
const Address& connectionOf(const DataSource& source, const Address& outer) {
    return source.connection.empty() ? outer : source.connection;
}

// The data of a source, or null where it names none.
std::shared_ptr<const DataSet> dataOf(const ReportDefinition& report, const DataSource& source,
                                      const Address& connection, DataCache& cache) {
    if (source.query.empty() && source.connection.empty()) return nullptr;
    const std::optional<ConnectionParts> parts = connectionParts(connection.name);
    if (!connection.empty() && !parts) {
        throw EngineError(ErrorCode::NotSupported,
                          "the connection \"" + toUtf8(connection.name) +
                              "\" is of no kind that this engine knows; there are " + knownConnections(),
                          {{}, placeOf(connection, report)});
    }
    if (source.query.empty()) return nullptr;
    const std::string query = "the query \"" + shownAddress(source.query) + "\"";
    if (connection.empty()) {
        logError(query + " is not read: neither it nor a report around it has a connection, such as \"xml\"");
        return nullptr;
    }
    try {
        return cache.get(source.query, *parts);
    } catch (const EngineError& error) {
        throw EngineError(error.code(), query + ": " + error.what(), {{}, placeOf(source.query, report)});
    }
}

void collect(Report& report, const Address& outerConnection, DataCache& cache, ReportData& data) {
    ReportDefinition& definition = report.definition;
    const Address& connection = connectionOf(definition.data, outerConnection);
    const Runtime* runtime = findRuntime(report);
    const bool loaded = runtime != nullptr && runtime->loadedData;
    if (auto set = loaded ? runtime->loadedData : dataOf(definition, definition.data, connection, cache)) {
        data.sets[&definition] = std::move(set);
    }
    if (definition.grid && !loaded) {
        const DataSource& recordset = definition.grid->recordset;
        if (auto set = dataOf(definition, recordset, connectionOf(recordset, connection), cache)) {
            data.gridSets[definition.grid.get()] = std::move(set);
        }
    }
    forEachSubReport(definition, [&](Control&, Report& inner) { collect(inner, connection, cache, data); });
}

bool isEmpty(const ReportDefinition& report) {
    return !report.grid && !report.pageHeader && !report.pageFooter && report.reportHeaders.empty() &&
           report.reportFooters.empty();
}

// A document without contents is made as asked, and the log explains why it is empty.
void logIfWithoutContents(const ReportDefinition& report, const Runtime& runtime, const ReportData& data) {
    if (isEmpty(report) && !runtime.failedTemplate.empty()) {
        logError("the document is empty: its template \"" + runtime.failedTemplate +
                 "\" could not be loaded");
    } else if (isEmpty(report)) {
        logWarning("the report is empty: no template is loaded");
    } else if (report.grid && data.sets.empty() && data.gridSets.empty()) {
        // Programs may load no file where it does not exist, and then its name never gets here.
        const bool hasQuery = !report.data.query.empty() || !report.grid->recordset.query.empty();
        logWarning(hasQuery ? "the grid has no rows: the data of its query is not read"
                            : "the grid has no rows: no data is loaded (QBReportLoadDataFromURL; does the "
                              "data file exist?), and neither the template nor the program sets a query");
    } else if (const Table* const rows = rowsOf(report, data); rows != nullptr && rows->rowCount() == 0) {
        const std::string name = toUtf8(rows->name());
        logWarning("the grid has no rows: " + (name.empty() ? "the data" : "the table \"" + name + "\"") +
                   " is empty");
    }
}

}  // namespace

const Table* rowsOf(const ReportDefinition& report, const ReportData& data) {
    if (!report.grid) return nullptr;
    const auto own = data.gridSets.find(report.grid.get());
    if (own != data.gridSets.end()) return own->second->table(report.grid->recordset.table);
    const auto set = data.sets.find(&report);
    if (set == data.sets.end()) return nullptr;
    const std::u16string& table = report.grid->recordset.table;
    return set->second->table(table.empty() ? report.data.table : table);
}

TextPosition placeOf(const Address& address, const ReportDefinition& report) {
    return address.namedBy == NamedBy::Template ? report.placesOf(address.name, TextUse::Address).front()
                                                : TextPosition();
}

ReportData collectData(Report& report) {
    ReportData data;
    Runtime& runtime = runtimeOf(report);
    collect(report, {}, runtime.dataCache, data);
    logIfWithoutContents(report.definition, runtime, data);
    return data;
}

void forEachSubReport(ReportDefinition& report, const std::function<void(Control&, Report&)>& visit) {
    for (Control* control : allControls(report)) {
        if (auto* content = std::get_if<SubReportContent>(&control->content))
            visit(*control, *content->report);
    }
}

}  // namespace qbsvrl6

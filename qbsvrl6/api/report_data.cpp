#include "qbsvrl6/api/report_data.h"

#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "qbsvrl6/api/database_queries.h"
#include "qbsvrl6/api/runtime.h"
#include "qbsvrl6/model/connection.h"
#include "qbsvrl6/model/inheritance.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

// The connection of a source: its own, or that of the report around it.
const Address& connectionOf(const DataSource& source, const Address& outer) {
    return source.connection.empty() ? outer : source.connection;
}

// What a program sends with a query that is a web address.
Address requestOf(const DataSource& source) {
    Address address = source.query;
    const bool isPost = source.method == HttpMethod::Post || !source.body.empty();
    if (!isPost && source.headers.empty()) return address;
    auto request = std::make_shared<WebRequest>();
    request->isPost = isPost;
    for (const HttpHeader& header : source.headers) {
        request->headers.emplace_back(toUtf8(header.name), toUtf8(header.value));
    }
    request->body = toUtf8(source.body);
    address.request = std::move(request);
    return address;
}

// The data of a report, then that of its sub-reports.
class Collector {
public:
    Collector(DataCache& cache, ReportData& data) : cache_(cache), data_(data) {}

    // What an enclosing report gives its sub-report.
    struct Outer {
        Address connection;
        std::span<const SubReportParameter> passed;
        std::map<std::u16string, std::u16string> set;  // parameters of the program
        const DataSet* data = nullptr;
    };

    void collect(Report& report, const Outer& outer) {
        ReportDefinition& definition = report.definition;
        const Runtime* const runtime = findRuntime(report);
        const std::shared_ptr<const DataSet> loaded = runtime == nullptr ? nullptr : runtime->loadedData;
        Outer own{connectionOf(definition.data, outer.connection), {}, outer.set, outer.data};
        if (runtime != nullptr) {
            for (const auto& [name, value] : runtime->parameters) own.set.insert_or_assign(name, value);
        }
        ParameterSources sources{definition, outer.passed, setParameters(definition, own.set), outer.data};
        if (auto set = loaded ? loaded : dataOf(definition.data, own.connection, sources)) {
            own.data = sources.data = set.get();
            data_.sets[&definition] = std::move(set);
        }
        if (definition.grid && !loaded) {
            const DataSource& recordset = definition.grid->recordset;
            if (auto set = dataOf(recordset, connectionOf(recordset, own.connection), sources)) {
                if (sources.data == nullptr) sources.data = set.get();
                data_.gridSets[definition.grid.get()] = std::move(set);
            }
        }
        checkParameters(sources);
        forEachSubReport(definition, [&](Control& control, Report& inner) {
            const std::vector<SubReportParameter> passed =
                passedTo(std::get<SubReportContent>(control.content));
            own.passed = passed;
            collect(inner, own);
        });
    }

private:
    const DataSet* setParameters(const ReportDefinition& report,
                                 const std::map<std::u16string, std::u16string>& values) {
        if (values.empty()) return nullptr;
        auto set = std::make_shared<DataSet>();
        for (const auto& [name, value] : values) set->add({name, ValueType::Text, {}, false, value});
        return (data_.setParameters[&report] = std::move(set)).get();
    }

    // Null where the source names no data.
    std::shared_ptr<const DataSet> dataOf(const DataSource& source, const Address& connection,
                                          const ParameterSources& sources) {
        const ReportDefinition& report = sources.report;
        if (source.query.empty() && source.connection.empty()) return nullptr;
        const std::optional<ConnectionParts> parts = connectionParts(connection.name);
        if (!connection.empty() && !parts) {
            throw EngineError(ErrorCode::NotSupported,
                              "the connection \"" + toUtf8(connection.name) +
                                  "\" is of no kind that this engine knows; there are " + knownConnections(),
                              {{}, placeOf(connection, report)});
        }
        if (source.query.empty()) return nullptr;
        const std::string shown = parts && parts->readsSql()
                                      ? shownQuery(connection, *parts, source.query.name)
                                      : "the query \"" + shownAddress(source.query) + "\"";
        if (connection.empty()) {
            logError(shown +
                     " is not read: neither it nor a report around it has a connection, such as \"xml\"");
            return nullptr;
        }
        try {
            if (!parts->readsSql()) return cache_.get(requestOf(source), *parts);
            QueriedData queried = databases_.query(connection, *parts, source.query.name, sources);
            if (queried.perRow) data_.rowQueries[&report].push_back(std::move(queried.perRow));
            return std::move(queried.data);
        } catch (const EngineError& error) {
            throw EngineError(error.code(), shown + ": " + error.what(), {{}, placeOf(source.query, report)});
        }
    }

    DataCache& cache_;
    ReportData& data_;
    Databases databases_;
};

bool isEmpty(const ReportDefinition& report) {
    return !report.grid && !report.pageHeader && !report.pageFooter && report.reportHeaders.empty() &&
           report.reportFooters.empty();
}

// A document without contents is made as asked, and the log explains why it is empty.
void logIfWithoutContents(const ReportDefinition& report, const Runtime& runtime, const ReportData& data,
                          bool mayLackData) {
    if (isEmpty(report) && !runtime.failedTemplate.empty()) {
        logError("the document is empty: its template \"" + runtime.failedTemplate +
                 "\" could not be loaded");
    } else if (isEmpty(report)) {
        logWarning("the report is empty: no template is loaded");
    } else if (report.grid && data.sets.empty() && data.gridSets.empty()) {
        // Programs may load no file where it does not exist, and then its name never gets here.
        const bool hasQuery = !report.data.query.empty() || !report.grid->recordset.query.empty();
        if (mayLackData && !hasQuery) return;
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

ReportData collectData(Report& report, bool mayLackData) {
    ReportData data;
    Runtime& runtime = runtimeOf(report);
    inherit(report.definition);
    Collector(runtime.dataCache, data).collect(report, {});
    logIfWithoutContents(report.definition, runtime, data, mayLackData);
    return data;
}

void forEachSubReport(ReportDefinition& report, const std::function<void(Control&, Report&)>& visit) {
    for (Control* control : allControls(report)) {
        if (auto* content = std::get_if<SubReportContent>(&control->content))
            visit(*control, *content->report);
    }
}

}  // namespace qbsvrl6

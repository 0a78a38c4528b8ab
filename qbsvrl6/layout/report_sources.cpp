#include "qbsvrl6/layout/report_sources.h"

#include <cstdint>

#include "qbsvrl6/support/log.h"

namespace qbsvrl6 {

namespace {

const Table* tableOf(const ReportDefinition& report, const DataSet* data, const std::u16string& name,
                     TextUse use) {
    if (data == nullptr) return nullptr;
    const Table* const table = data->table(name);
    if (table == nullptr && !name.empty()) logMissingTable(report, *data, name, use);
    return table;
}

}  // namespace

const DataSet* dataOf(const ReportDefinition& report, const ReportData& data, const DataSet* outer) {
    const auto own = data.sets.find(&report);
    return own == data.sets.end() ? outer : own->second.get();
}

DataSources sourcesOf(const ReportDefinition& report, const ReportData& data, const DataSet* outer) {
    DataSources sources;
    sources.data = dataOf(report, data, outer);
    if (report.inherits && sources.data != outer) sources.outer = outer;
    const auto set = data.setParameters.find(&report);
    if (set != data.setParameters.end()) sources.set = set->second.get();
    const Table* const reportTable = tableOf(report, sources.data, report.data.table, TextUse::ReportTable);
    sources.rows = reportTable;
    if (!report.grid) return sources;
    const auto own = data.gridSets.find(report.grid.get());
    const bool hasOwn = own != data.gridSets.end();
    const DataSet* const gridData = hasOwn ? own->second.get() : sources.data;
    const std::u16string& name = report.grid->recordset.table;
    if (hasOwn || !name.empty()) sources.rows = tableOf(report, gridData, name, TextUse::GridTable);
    if (sources.rows != reportTable) sources.head = reportTable;
    if (sources.data == nullptr) sources.data = gridData;
    if (hasOwn) sources.gridData = gridData;
    return sources;
}

void logMissingTable(const ReportDefinition& report, const DataSet& data, const std::u16string& name,
                     TextUse use) {
    const char* const user = use == TextUse::ReportTable ? "the report"
                             : use == TextUse::GridTable ? "the grid"
                                                         : "a chart";
    const std::string key = std::to_string(TextPlaces::keyOf(name, use)) + ' ' +
                            std::to_string(reinterpret_cast<std::uintptr_t>(&report));
    if (!isNewWarning(key)) return;
    for (const TextPosition& place : report.placesOf(name, use)) {
        logMissingTable(data, name, user, place);
    }
}

}  // namespace qbsvrl6

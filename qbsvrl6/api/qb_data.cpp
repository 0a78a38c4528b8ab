// Where a report's rows come from: queries, connections, the detail grid and its record set.
#include <string>
#include <utility>

#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/api/report_work.h"
#include "qbsvrl6/data/load.h"
#include "qbsvrl6/support/limits.h"

using namespace qbsvrl6;
using namespace quillbrook;

int QBReportLoadDataFromURL(tagQBReport* handle, const lkchar* url) {
    return withObject(__func__, handle, [&](Report& report) {
        Runtime& runtime = runtimeOf(report);
        const ReportWork work(runtime);
        runtime.loadedData.reset();
        runtime.loadedData = runtime.dataCache.get(addressFrom(url), kDocumentSource);
        return 1;
    });
}

const lkchar* QBReportExtractXMLFromURL(tagQBReport* handle, const lkchar* url) {
    return withObject(__func__, handle, [&](Report& report) {
        const ReportWork work(runtimeOf(report));
        const Address address = addressFrom(url);
        std::string bytes = fetch(address, limits::kDataBytes);
        std::u16string& kept = runtimeOf(report).extractedXml;
        kept = readXmlText(std::move(bytes), shownAddress(address));
        return kept.c_str();
    });
}

const lkchar* QBReportGetQuerySQL(tagQBReport* handle) {
    return withObjectOr(__func__, handle, u"",
                        [](const Report& report) { return report.definition.data.query.name.c_str(); });
}

void QBReportSetQuerySQL(tagQBReport* handle, const lkchar* query) {
    withObject(__func__, handle, [&](Report& report) { report.definition.data.query = addressFrom(query); });
}

void QBReportSetConnectionString(tagQBReport* handle, const lkchar* connection) {
    withObject(__func__, handle,
               [&](Report& report) { report.definition.data.connection = addressFrom(connection); });
}

tagQBDetailGrid* QBReportGetDetailGrid(tagQBReport* handle) {
    return withObject(__func__, handle, [](Report& report, Runtime& owner) {
        return toHandle<tagQBDetailGrid>(report.definition.grid.get(), owner);
    });
}

tagQBRecordset* QBDetailGridGetRecordset(tagQBDetailGrid* handle) {
    return withObject(__func__, handle, [](DetailGrid& grid, Runtime& owner) {
        return toHandle<tagQBRecordset>(&grid.recordset, owner);
    });
}

void QBDetailGridSetPrintAdaptMethod(tagQBDetailGrid* handle, tagQBColumnPrintAdaptMethod method) {
    withObject(__func__, handle, [&](DetailGrid& grid) {
        const bool known =
            method >= QBColumnPrintAdaptMethod_Discard && method <= QBColumnPrintAdaptMethod_WrapExcludeGroup;
        grid.adapt = known ? static_cast<ColumnAdapt>(method) : ColumnAdapt::Discard;
    });
}

const lkchar* QBRecordsetGetQuerySQL(tagQBRecordset* handle) {
    return withObjectOr(__func__, handle, u"",
                        [](const DataSource& recordset) { return recordset.query.name.c_str(); });
}

void QBRecordsetSetQuerySQL(tagQBRecordset* handle, const lkchar* query) {
    withObject(__func__, handle, [&](DataSource& recordset) { recordset.query = addressFrom(query); });
}

void QBRecordsetSetConnectionString(tagQBRecordset* handle, const lkchar* connection) {
    withObject(__func__, handle,
               [&](DataSource& recordset) { recordset.connection = addressFrom(connection); });
}

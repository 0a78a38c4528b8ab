// Where a report's rows come from: queries, connections, the detail grid and its record set.
#include <string>
#include <utility>

#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/data/load.h"
#include "qbsvrl6/support/limits.h"

using namespace qbsvrl6;
using namespace quillbrook;

int QBReportLoadDataFromURL(tagQBReport* handle, const lkchar* url) {
    return guarded("QBReportLoadDataFromURL", 0, [&] {
        Report* report = reportFrom(handle);
        if (report == nullptr) return 0;
        Runtime& runtime = runtimeOf(*report);
        runtime.loadedData.reset();
        runtime.loadedData = runtime.dataCache.get(addressFrom(url));
        return 1;
    });
}

const lkchar* QBReportExtractXMLFromURL(tagQBReport* handle, const lkchar* url) {
    return guarded("QBReportExtractXMLFromURL", static_cast<const lkchar*>(nullptr), [&]() -> const lkchar* {
        Report* report = reportFrom(handle);
        if (report == nullptr) return nullptr;
        const Address address = addressFrom(url);
        std::string bytes = fetch(address, limits::kDataBytes);
        std::u16string& kept = runtimeOf(*report).extractedXml;
        kept = readXmlText(std::move(bytes), shownAddress(address));
        return kept.c_str();
    });
}

const lkchar* QBReportGetQuerySQL(tagQBReport* handle) {
    return guarded("QBReportGetQuerySQL", u"", [&] {
        const Report* report = reportFrom(handle);
        return report == nullptr ? u"" : report->definition.data.query.name.c_str();
    });
}

void QBReportSetQuerySQL(tagQBReport* handle, const lkchar* query) {
    guarded("QBReportSetQuerySQL", [&] {
        if (Report* report = reportFrom(handle)) report->definition.data.query = addressFrom(query);
    });
}

void QBReportSetConnectionString(tagQBReport* handle, const lkchar* connection) {
    guarded("QBReportSetConnectionString", [&] {
        if (Report* report = reportFrom(handle))
            report->definition.data.connectionString = textFrom(connection);
    });
}

tagQBDetailGrid* QBReportGetDetailGrid(tagQBReport* handle) {
    return guarded(
        "QBReportGetDetailGrid", static_cast<tagQBDetailGrid*>(nullptr), [&]() -> tagQBDetailGrid* {
            const Report* report = reportFrom(handle);
            return report == nullptr ? nullptr : toHandle<tagQBDetailGrid>(report->definition.grid.get());
        });
}

tagQBRecordset* QBDetailGridGetRecordset(tagQBDetailGrid* handle) {
    DetailGrid* grid = fromHandle(handle);
    return grid == nullptr ? nullptr : toHandle<tagQBRecordset>(&grid->recordset);
}

void QBDetailGridSetPrintAdaptMethod(tagQBDetailGrid* handle, tagQBColumnPrintAdaptMethod method) {
    DetailGrid* grid = fromHandle(handle);
    if (grid == nullptr) return;
    const bool known =
        method >= QBColumnPrintAdaptMethod_Discard && method <= QBColumnPrintAdaptMethod_WrapExcludeGroup;
    grid->adapt = known ? static_cast<ColumnAdapt>(method) : ColumnAdapt::Discard;
}

const lkchar* QBRecordsetGetQuerySQL(tagQBRecordset* handle) {
    const DataSource* recordset = fromHandle(handle);
    return recordset == nullptr ? u"" : recordset->query.name.c_str();
}

void QBRecordsetSetQuerySQL(tagQBRecordset* handle, const lkchar* query) {
    guarded("QBRecordsetSetQuerySQL", [&] {
        if (DataSource* recordset = fromHandle(handle)) recordset->query = addressFrom(query);
    });
}

void QBRecordsetSetConnectionString(tagQBRecordset* handle, const lkchar* connection) {
    guarded("QBRecordsetSetConnectionString", [&] {
        if (DataSource* recordset = fromHandle(handle)) recordset->connectionString = textFrom(connection);
    });
}

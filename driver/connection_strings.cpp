#include "driver/connection_strings.h"

#include "driver/sample_tree.h"

using namespace quillbrook;

// The plain functions and their _CPP forms share templates over `Report`: tagQBReport* or CQBReportHandle.
namespace {

constexpr lkchar kTextFile[] = u"xml";
constexpr lkchar kNone[] = u"";

// The longest query, in 16-bit units, that counts as a file name.
constexpr int kMaxFileNameLength = 24;

tagQBReport* Raw(tagQBReport* report) { return report; }
tagQBReport* Raw(const CQBReportHandle& report) { return report.m_report; }

tagQBRecordset* GridRecordset(tagQBReport* report) {
    tagQBDetailGrid* grid = QBReportGetDetailGrid(report);
    return grid ? QBDetailGridGetRecordset(grid) : nullptr;
}

lkstr ReportQuery(tagQBReport* report) {
    return RequireText(QBReportGetQuerySQL(report), "QBReportGetQuerySQL");
}

lkstr RecordsetQuery(tagQBRecordset* recordset) {
    return RequireText(QBRecordsetGetQuerySQL(recordset), "QBRecordsetGetQuerySQL");
}

void ClearRecordset(tagQBRecordset* recordset) {
    QBRecordsetSetConnectionString(recordset, kNone);
    QBRecordsetSetQuerySQL(recordset, kNone);
}

// Calls visit(subReport) for each direct sub-report of `report`.
template <class Visit>
void ForEachSubReport(tagQBReport* report, Visit visit) {
    for (tagQBControl* control = QBReportFindFirstControl(report); control;
         control = QBReportFindNextControl(report)) {
        if (QBControlGetControlType(control) != QBControlType_SubReport) continue;
        visit(QBSubReportGetReport(QBControlGetAsSubReport(control)));
    }
}

template <class Report>
void ClearSubReports(Report& report) {
    ForEachSubReport(Raw(report), [](tagQBReport* raw) {
        tagQBDetailGrid* grid = QBReportGetDetailGrid(raw);
        QBReportSetConnectionString(raw, kNone);
        QBReportSetQuerySQL(raw, kNone);
        if (grid) ClearRecordset(QBDetailGridGetRecordset(grid));
        Report subReport(raw);  // this handle does not own the report
        ClearSubReports(subReport);
    });
}

// The replacement for a query of the template if the report list names no data.
lkstr LocalQuery(const lkstr& query, const wstr& reportDir, const wstr& reportName) {
    if (larkspur::lkstr_len(query.c_str()) > kMaxFileNameLength) {
        return EngineText(reportDir + reportName + L".txt");
    }
    return EngineText(reportDir) + query;
}

void LocaliseQueries(tagQBReport* report, tagQBRecordset* recordset, const wstr& reportDir,
                     const wstr& reportName) {
    const lkstr query = ReportQuery(report);
    if (!query.empty()) QBReportSetQuerySQL(report, LocalQuery(query, reportDir, reportName).c_str());
    if (!recordset) return;
    const lkstr gridQuery = RecordsetQuery(recordset);
    if (gridQuery.empty()) return;
    QBRecordsetSetConnectionString(recordset, kTextFile);
    QBRecordsetSetQuerySQL(recordset, LocalQuery(gridQuery, reportDir, reportName).c_str());
}

template <class Report>
void UpdateConnectionString(Report& report, const wstr& reportDir, const wstr& dataName,
                            const wstr& reportName) {
    tagQBReport* const raw = Raw(report);
    tagQBRecordset* const recordset = GridRecordset(raw);
    QBReportSetConnectionString(raw, kTextFile);
    if (dataName.empty()) {
        LocaliseQueries(raw, recordset, reportDir, reportName);
    } else {
        QBReportSetQuerySQL(raw, EngineText(dataPath + L"json/json" + dataName + L".txt").c_str());
        if (recordset) ClearRecordset(recordset);
    }
    ClearSubReports(report);
}

wstr DataNameOf(const wstr& reportName) {
    wstr dataName;
    WalkReportList([&](const ReportListItem& item) {
        if (item.name != reportName) return true;
        dataName = item.data;
        return false;
    });
    return dataName;
}

}  // namespace

void UpdateConnectionString_Ok(tagQBReport* report, const wstr& reportDir, const wstr& dataName,
                               const wstr& reportName) {
    UpdateConnectionString(report, reportDir, dataName, reportName);
}

void UpdateConnectionString_Ok_CPP(CQBReportHandle& report, const wstr& reportDir, const wstr& dataName,
                                   const wstr& reportName) {
    UpdateConnectionString(report, reportDir, dataName, reportName);
}

void UpdateConnectionStringByReportName(tagQBReport* report, const wstr& reportName) {
    UpdateConnectionString(report, reportPath, DataNameOf(reportName), reportName);
}

void UpdateConnectionStringByReportName_CPP(CQBReportHandle& report, const wstr& reportName) {
    UpdateConnectionString(report, reportPath, DataNameOf(reportName), reportName);
}

void ReportExport_UpdateConnectionString(tagQBReport* report, const wstr& prefix) {
    tagQBRecordset* const recordset = GridRecordset(report);
    QBReportSetConnectionString(report, kTextFile);
    const lkstr query = ReportQuery(report);
    if (!query.empty()) QBReportSetQuerySQL(report, (EngineText(prefix) + query).c_str());
    if (recordset) {
        // The record set follows the report's own connection, unlike in UpdateConnectionString_Ok.
        QBRecordsetSetConnectionString(recordset, kNone);
        const lkstr gridQuery = RecordsetQuery(recordset);
        if (!gridQuery.empty()) QBRecordsetSetQuerySQL(recordset, (EngineText(prefix) + gridQuery).c_str());
    }
    ForEachSubReport(report,
                     [&](tagQBReport* subReport) { ReportExport_UpdateConnectionString(subReport, prefix); });
}

void ClearConnectionStringForSubReport(tagQBReport* report) { ClearSubReports(report); }

void ClearConnectionStringForSubReport_CPP(CQBReportHandle& report) { ClearSubReports(report); }

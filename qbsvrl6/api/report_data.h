// Collects the data that one export of a report reads.
#ifndef QBSVR_QBSVRL6_API_REPORT_DATA_H
#define QBSVR_QBSVRL6_API_REPORT_DATA_H

#include <functional>

#include "qbsvrl6/layout/report_data.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// Fetches the data of the report, its grid and its sub-reports. A query without a connection uses that of the
// enclosing report: the grid that of its report, a sub-report that of its parent. Loaded data replaces the
// queries of the report and its grid; sub-reports have their own queries. Raises EngineError, which names the
// query, for data that can't be loaded and for unknown connections. A query without any connection gives no
// data and is logged as an error; a report with nothing to show is logged as a warning, unless `mayLackData`
// and it is for want of data.
ReportData collectData(Report& report, bool mayLackData = false);

// The table of the report's grid; null without a grid or without such a table.
const Table* rowsOf(const ReportDefinition& report, const ReportData& data);

// The position of an address in the template's file; unknown if a program has set it.
TextPosition placeOf(const Address& address, const ReportDefinition& report);

// Calls `visit` for each direct sub-report of the report, with its control.
void forEachSubReport(ReportDefinition& report, const std::function<void(Control&, Report&)>& visit);

}  // namespace qbsvrl6

#endif

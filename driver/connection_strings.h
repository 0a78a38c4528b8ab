// Points a loaded report at text files instead of the data source that its template carries: the connection
// string "xml" makes a query the path of a data file.
#ifndef QBSVR_DRIVER_CONNECTION_STRINGS_H
#define QBSVR_DRIVER_CONNECTION_STRINGS_H

#include "driver/engine.h"

// A `dataName` makes dataPath + "json/json" + dataName + ".txt" the report's data. Without one, a query of
// the report or of its record set is kept as a file name relative to `reportDir` when it is short enough to
// be one, and gives way to reportDir + reportName + ".txt" when it isn't. Sub-reports are cleared in both
// cases. `reportDir` is closed by "/".
void UpdateConnectionString_Ok(tagQBReport* report, const wstr& reportDir, const wstr& dataName,
                               const wstr& reportName);
void UpdateConnectionString_Ok_CPP(CQBReportHandle& report, const wstr& reportDir, const wstr& dataName,
                                   const wstr& reportName);

// The same with the data name of the first item of ReportsJson named `reportName`, none when there is
// none, and with reportPath as the directory, whatever the item's group.
void UpdateConnectionStringByReportName(tagQBReport* report, const wstr& reportName);
void UpdateConnectionStringByReportName_CPP(CQBReportHandle& report, const wstr& reportName);

// Puts `prefix` in front of every query that isn't empty, in the report and in its sub-reports at any depth.
// The reports get "xml" as their connection string, the record sets none.
void ReportExport_UpdateConnectionString(tagQBReport* report, const wstr& prefix);

// Empties connection strings and queries of all sub-reports, at any depth; the report itself stays.
void ClearConnectionStringForSubReport(tagQBReport* report);
void ClearConnectionStringForSubReport_CPP(CQBReportHandle& report);

#endif

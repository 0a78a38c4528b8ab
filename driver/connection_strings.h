// Points a loaded report at text files instead of the data source in its template: the connection string
// "xml" makes a query the path of a data file.
#ifndef QBSVR_DRIVER_CONNECTION_STRINGS_H
#define QBSVR_DRIVER_CONNECTION_STRINGS_H

#include "driver/engine.h"

// A `dataName` makes dataPath + "json/json" + dataName + ".txt" the report's data. Without one, a query of
// the report or of its record set is treated as a file name relative to `reportDir` if it is short enough,
// and is otherwise replaced by reportDir + reportName + ".txt". In both cases, the queries of sub-reports are
// cleared. `reportDir` ends in "/".
void UpdateConnectionString_Ok(tagQBReport* report, const wstr& reportDir, const wstr& dataName,
                               const wstr& reportName);
void UpdateConnectionString_Ok_CPP(CQBReportHandle& report, const wstr& reportDir, const wstr& dataName,
                                   const wstr& reportName);

// The same, with the data name of the first item of ReportsJson named `reportName` (empty if there is none),
// and with reportPath as the directory, whatever the item's group.
void UpdateConnectionStringByReportName(tagQBReport* report, const wstr& reportName);
void UpdateConnectionStringByReportName_CPP(CQBReportHandle& report, const wstr& reportName);

// Prepends `prefix` to every non-empty query of the report and of its sub-reports at any depth. The
// connection string of the reports becomes "xml", that of the record sets empty.
void ReportExport_UpdateConnectionString(tagQBReport* report, const wstr& prefix);

// Clears the connection strings and queries of all sub-reports at any depth, but not those of the report
// itself.
void ClearConnectionStringForSubReport(tagQBReport* report);
void ClearConnectionStringForSubReport_CPP(CQBReportHandle& report);

#endif

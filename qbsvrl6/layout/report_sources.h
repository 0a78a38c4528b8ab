// Where the values of a report come from.
#ifndef QBSVR_QBSVRL6_LAYOUT_REPORT_SOURCES_H
#define QBSVR_QBSVRL6_LAYOUT_REPORT_SOURCES_H

#include <string>

#include "qbsvrl6/bind/binding.h"
#include "qbsvrl6/layout/report_data.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// The data of the report: its own, or that of the report around it. May be null.
const DataSet* dataOf(const ReportDefinition& report, const ReportData& data, const DataSet* outer);

// The grid's data takes precedence; the report's data supplies parameters and, if it has another table, the
// fields of that table's first row. Logs missing tables.
DataSources sourcesOf(const ReportDefinition& report, const ReportData& data, const DataSet* outer);

// Logs once that the data lacks a table that the report names.
void logMissingTable(const ReportDefinition& report, const DataSet& data, const std::u16string& name,
                     TextUse use);

}  // namespace qbsvrl6

#endif

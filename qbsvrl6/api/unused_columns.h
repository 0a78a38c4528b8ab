// Columns of the data that a template does not use.
#ifndef QBSVR_QBSVRL6_API_UNUSED_COLUMNS_H
#define QBSVR_QBSVRL6_API_UNUSED_COLUMNS_H

#include "qbsvrl6/layout/report_data.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// Logs, in one line, the columns of the grid's table that no text of the template mentions.
void tellUnusedColumns(const ReportDefinition& report, const ReportData& data);

}  // namespace qbsvrl6

#endif

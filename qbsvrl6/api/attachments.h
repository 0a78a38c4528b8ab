// The files that a report attaches to its PDF.
#ifndef QBSVR_QBSVRL6_API_ATTACHMENTS_H
#define QBSVR_QBSVRL6_API_ATTACHMENTS_H

#include <vector>

#include "qbsvrl6/layout/report_data.h"
#include "qbsvrl6/model/report.h"
#include "qbsvrl6/paint/pdf/pdf.h"

namespace qbsvrl6 {

// Reads them: sources that are files, web addresses or Base64 text, with the values of parameters and of the
// first row. Raises EngineError, with the position in the template, if one can't be read: a document without
// a file that it should have is wrong.
std::vector<PdfAttachment> loadAttachments(const ReportDefinition& report, const ReportData& data);

}  // namespace qbsvrl6

#endif

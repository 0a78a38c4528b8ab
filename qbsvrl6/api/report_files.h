// The files that an export of a report reads besides its template, as a list for programs.
#ifndef QBSVR_QBSVRL6_API_REPORT_FILES_H
#define QBSVR_QBSVRL6_API_REPORT_FILES_H

#include <vector>

#include "qbsvrl6/api/report_items.h"

namespace qbsvrl6 {

// Those that exist and that the template may refer to: pictures, attachments, data, and all faces of the fonts,
// with those to fall back on. Not what placeholders or data name, and no databases.
std::vector<ReportItem> filesOf(Runtime& runtime);

}  // namespace qbsvrl6

#endif

// One export of a report, from its events to the bytes.
#ifndef QBSVR_QBSVRL6_API_EXPORT_H
#define QBSVR_QBSVRL6_API_EXPORT_H

#include <memory>
#include <string>
#include <vector>

#include "qbsvrl6/api/runtime.h"
#include "qbsvrl6/items/page_sink.h"
#include "qbsvrl6/model/export_options.h"
#include "qbsvrl6/support/spool.h"

namespace qbsvrl6 {

// Calls the event handlers (initialize; export begins, which may change `options`; chart data) and makes the
// document. Further files of a format with one file per page are appended to `furtherFiles`; null: they are
// left out. Raises EngineError on failure; the report's definition is unchanged in any case.
Spool exportReport(Runtime& runtime, ExportOptions& options,
                   std::vector<std::string>* furtherFiles = nullptr);

// The options of the prepared export. Raises EngineError if none is prepared.
ExportOptions& preparedOptions(Runtime& runtime);

// Exports into the file that the options name. A format with one file per page has more: "a.png", "a-2.png".
void exportToFile(Runtime& runtime, ExportOptions& options);

// Logs everything that an export would, and which columns of the data the template does not use; makes no
// document. Raises EngineError where an export would fail.
// `pages`: receives them; null: nobody does.
void checkReport(Runtime& runtime, std::unique_ptr<PageSink> pages = nullptr);

// An export as PDF without the export-begins event, since printing is not an export.
Spool printedReport(Runtime& runtime);

// True while an export of the report, or of one that contains it, runs on this thread. The contents of the
// report must not be replaced then.
bool isBeingExported(const Report& report) noexcept;

// Raises EngineError while the report is being exported: for functions that event handlers may not call.
void refuseDuringExport(const Report& report);

// Frees a report that QBReportCreate made. During its own export, frees it when the export ends.
void releaseReport(Report* report) noexcept;

}  // namespace qbsvrl6

#endif

// Converts a definition and its data into pages of items.
#ifndef QBSVR_QBSVRL6_LAYOUT_LAYOUT_H
#define QBSVR_QBSVRL6_LAYOUT_LAYOUT_H

#include "qbsvrl6/items/page_sink.h"
#include "qbsvrl6/layout/layout_options.h"
#include "qbsvrl6/layout/report_data.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// Lays out the whole report into the sink, page by page. Only texts that wait for the page count make memory
// use grow with the number of pages. Raises EngineError for invalid expressions and for exceeded limits.
void layOut(const ReportDefinition& report, const ReportData& data, const LayoutOptions& options,
            PageSink& sink);

}  // namespace qbsvrl6

#endif

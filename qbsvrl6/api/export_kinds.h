// The kinds of documents that the engine makes, in one list.
#ifndef QBSVR_QBSVRL6_API_EXPORT_KINDS_H
#define QBSVR_QBSVRL6_API_EXPORT_KINDS_H

#include <memory>
#include <string>
#include <vector>

#include "qbsvrl6/items/page_sink.h"
#include "qbsvrl6/layout/layout_options.h"
#include "qbsvrl6/model/export_options.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// What a writer may want to know of the export that it serves.
struct ExportJob {
    const ReportDefinition& report;
    const ExportOptions& options;
    LayoutOptions layout;
    std::shared_ptr<const Picture> background;  // may be null
    std::vector<std::string>* furtherFiles =
        nullptr;  // of a kind that has a file a page; null: the first only
};

// True for the kinds made of cells, whose layout the cell options choose.
bool isCellKind(ExportKind kind);

// How the report is laid out for these options.
LayoutOptions layoutOptionsFor(const ExportOptions& options);

// The sink for the options' kind and form, which writes into `output`. Raises EngineError (NotSupported) for
// a kind that the engine has no writer for.
std::unique_ptr<PageSink> makeSink(const ExportJob& job, std::string& output);

}  // namespace qbsvrl6

#endif

// The document formats that the engine makes, in one list.
#ifndef QBSVR_QBSVRL6_API_EXPORT_KINDS_H
#define QBSVR_QBSVRL6_API_EXPORT_KINDS_H

#include <memory>
#include <string>
#include <vector>

#include "qbsvrl6/items/page_sink.h"
#include "qbsvrl6/layout/layout_options.h"
#include "qbsvrl6/layout/shown_grid.h"
#include "qbsvrl6/model/export_options.h"
#include "qbsvrl6/model/report.h"
#include "qbsvrl6/paint/pdf/pdf.h"
#include "qbsvrl6/support/spool.h"

namespace qbsvrl6 {

// What a writer may need to know of its export.
struct ExportJob {
    const ReportDefinition& report;
    const ExportOptions& options;
    LayoutOptions layout;
    std::shared_ptr<const Picture> background;  // may be null
    // Of a format with one file per page: the files after the first; null: the first only.
    std::vector<std::string>* furtherFiles = nullptr;
    bool defuseFormulas = false;  // of the settings
    // Of a PDF; filled when the data is there.
    std::shared_ptr<std::vector<PdfAttachment>> attachments = nullptr;
    std::shared_ptr<const ShownGrids> grids = std::make_shared<ShownGrids>();
    // Of a PDF with tags, filled by the layout; null: it has none.
    std::shared_ptr<DocumentStructure> structure = nullptr;
};

// True for the formats made of cells, whose layout the cell options choose.
bool isCellKind(ExportKind kind);

// How the report is laid out for these options.
LayoutOptions layoutOptionsFor(const ExportOptions& options);

// A structure for the layout to fill; null: a document of these options has no use for it.
std::shared_ptr<DocumentStructure> structureFor(const ReportDefinition& report, const ExportOptions& options);

// The sink for the format of the options, which writes into `output`. Raises EngineError (NotSupported) for a
// format without a writer.
std::unique_ptr<PageSink> makeSink(const ExportJob& job, Spool& output);

}  // namespace qbsvrl6

#endif

// The sinks that write cell documents, one per format.
#ifndef QBSVR_QBSVRL6_SHEET_WRITERS_H
#define QBSVR_QBSVRL6_SHEET_WRITERS_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "qbsvrl6/items/column_move.h"
#include "qbsvrl6/items/page_sink.h"
#include "qbsvrl6/items/structure.h"
#include "qbsvrl6/model/export_options.h"
#include "qbsvrl6/model/report.h"
#include "qbsvrl6/support/spool.h"

namespace qbsvrl6 {

// What workbooks need to know of the detail grid.
struct WorkbookGrid {
    int fixedColumns = 0;             // the first ones
    std::vector<int> columnOutlines;  // of each column: the totals beside it into which it can be folded
    bool hasSummariesAbove = false;   // a group that is folded leaves its header, not its footer
    bool hasSummariesAtLeft = false;  // the totals of a cross-table are at the left of what they add up
};

struct SheetOptions {
    DocumentInfo info;
    std::vector<Micrometres> columnEdges;  // x coordinates on the paper, ascending
    PageSetup page;
    bool paged = true;  // as printed
    bool pageBreaks = true;
    // Painted below the texts of each printed page, in HTM and RTF.
    std::shared_ptr<const Picture> background;  // may be null
    Watermark watermark;
    bool rawValues = false;       // CSV: typed values instead of the texts that show them
    TextSettings texts;           // CSV and TXT
    bool defuseFormulas = false;  // CSV: texts that look like formulas begin with an apostrophe
    // By column of the detail grid; empty: all columns have the same position as on the paper.
    std::vector<ColumnMove> columnMoves = {};
    WorkbookSettings workbook = {};
    WorkbookGrid grid = {};
};

// `output` holds the whole document after finish().
std::unique_ptr<PageSink> makeXlsxWriter(const SheetOptions& options, Spool& output);
std::unique_ptr<PageSink> makeXlsWriter(const SheetOptions& options, Spool& output);
std::unique_ptr<PageSink> makeOdsWriter(const SheetOptions& options, Spool& output);
std::unique_ptr<PageSink> makeHtmWriter(const SheetOptions& options, Spool& output);
std::unique_ptr<PageSink> makeRtfWriter(const SheetOptions& options, Spool& output);
std::unique_ptr<PageSink> makeTxtWriter(const SheetOptions& options, Spool& output);
std::unique_ptr<PageSink> makeCsvWriter(const SheetOptions& options, Spool& output);
std::unique_ptr<PageSink> makeDocxWriter(const SheetOptions& options, const ReportDefinition& report,
                                         Spool& output);
// The sink that `make` creates writes UTF-8; `output` receives it in the encoding. What cannot be encoded is
// logged.
std::unique_ptr<PageSink> makeEncodedText(const std::string& encoding, Spool& output,
                                          const std::function<std::unique_ptr<PageSink>(Spool&)>& make);
// The bands belong to the structure; those that do not are parts of the page.
std::unique_ptr<PageSink> makeJsonWriter(const DocumentInfo& info,
                                         std::shared_ptr<const DocumentStructure> structure, Spool& output);

}  // namespace qbsvrl6

#endif

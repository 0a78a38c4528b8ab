// From a definition and its data to pages of items.
#ifndef QBSVR_QBSVRL6_LAYOUT_LAYOUT_H
#define QBSVR_QBSVRL6_LAYOUT_LAYOUT_H

#include <map>
#include <memory>
#include <string_view>
#include <vector>

#include "qbsvrl6/data/table.h"
#include "qbsvrl6/items/items.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// Draws what other stations know how to draw. `place` is the part of the item's box that the drawing fills,
// the box without its paddings; the drawing counts from the box's corner. A null result leaves the box
// without a drawing.
class DrawingSource {
public:
    virtual ~DrawingSource() = default;
    virtual std::shared_ptr<const Drawing> barcode(const Control& control, std::u16string_view text,
                                                   const Rect& place) = 0;
    // `control` is the chart's control; settings and data are what it shows at this place.
    virtual std::shared_ptr<const Drawing> chart(const Control& control, const ChartSettings& settings,
                                                 const ChartData& data, const Rect& place) = 0;
};

struct LayoutOptions {
    bool paged = true;  // false: one continuous page of unbounded height, in logical order
    bool pageHeadersAndFooters = true;
    bool onlyDetailGrid = false;
    bool measureText = true;  // false: texts get no lines and nothing grows; for sinks that want texts alone
    bool drawText = true;     // false: texts on one line get no lines; for sinks that draw none
    DrawingSource* drawings = nullptr;  // null: barcodes and charts stay empty boxes
};

// The data of a report and of those of its sub-reports that have data of their own. A report that is not in
// the map reads its parent's data. Null means none.
struct ReportData {
    std::map<const ReportDefinition*, std::shared_ptr<const DataSet>> sets;
    // The recordset of the grid, where it has its own.
    std::map<const DetailGrid*, std::shared_ptr<const DataSet>> gridSets;
};

// Lays out the whole report into the sink, page by page; memory doesn't grow with the number of pages.
// Raises EngineError for faulty expressions and for passed limits.
void layOut(const ReportDefinition& report, const ReportData& data, const LayoutOptions& options,
            PageSink& sink);

// What the columns of a cell document follow.
enum class CellColumns {
    Page,     // each edge on paper is one of a column: for documents that look like the page
    Grid,     // the detail grids. Free controls have columns of their own beside the grids, where the grid
              // shows no rows, and where two of one row would share a cell: for workbooks
    Records,  // the same, and each column ends where the next one begins: for CSV
};

// x of each column edge that the detail grids (those of sub-reports among them) and the free controls of the
// report use, in micrometres from the paper's left edge, ascending and without repeats: the cuts of a cell
// document. Edges up to a millimetre apart are one; the grids' lead.
std::vector<Micrometres> columnCuts(const ReportDefinition& report, const LayoutOptions& options,
                                    CellColumns columns = CellColumns::Page);

// Where the cells have each column of a grid that goes on to further pages: but for documents that look like
// the page, the first columns of all pages are one column of cells, as wide as the widest, and so are the
// second ones. Empty: no column moves.
std::vector<ColumnMove> columnMoves(const ReportDefinition& report, const LayoutOptions& options,
                                    CellColumns columns);

}  // namespace qbsvrl6

#endif

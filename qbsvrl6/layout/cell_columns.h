// The columns of cell documents, from the columns and controls of a report.
#ifndef QBSVR_QBSVRL6_LAYOUT_CELL_COLUMNS_H
#define QBSVR_QBSVRL6_LAYOUT_CELL_COLUMNS_H

#include <vector>

#include "qbsvrl6/items/column_move.h"
#include "qbsvrl6/layout/layout_options.h"
#include "qbsvrl6/layout/shown_grid.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// How the columns of a cell document are chosen.
enum class CellColumns {
    Page,     // every edge on paper is an edge of a column: for documents that resemble the page
    Grid,     // the detail grids. Free controls have their own columns beside the grids, where the grid shows
              // no rows, and where two of one row would share a cell: for workbooks
    Records,  // the same, and each column ends where the next one begins: for CSV
};

// x of each column edge that the detail grids (including those of sub-reports) and the free controls of the
// report use, in micrometres from the paper's left edge, ascending and without repeats. Edges up to a
// millimetre apart become one; the edges of grids take precedence. `grids` are those of the export.
std::vector<Micrometres> columnEdges(const ReportDefinition& report, const LayoutOptions& options,
                                     CellColumns columns = CellColumns::Page,
                                     const ShownGrids& grids = ShownGrids());

// The position in the cells of each column of a grid that continues on further pages. Except in documents
// that resemble the page, the first columns of all pages share one column of cells, as wide as the widest of
// them, and so on for the second ones. Empty: no column moves.
std::vector<ColumnMove> columnMoves(const ReportDefinition& report, const LayoutOptions& options,
                                    CellColumns columns, const ShownGrids& grids = ShownGrids());

}  // namespace qbsvrl6

#endif

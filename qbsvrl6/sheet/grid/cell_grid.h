// Converts the items of a band into cells of one grid. The columns are fixed for the document. The tops of a
// band's items define its rows, so no row is empty; exact grids have a row edge at their bottoms as well.
// Each item becomes a span of cells.
#ifndef QBSVR_QBSVRL6_SHEET_GRID_CELL_GRID_H
#define QBSVR_QBSVRL6_SHEET_GRID_CELL_GRID_H

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "qbsvrl6/sheet/grid/cell.h"
#include "qbsvrl6/sheet/grid/cell_borders.h"
#include "qbsvrl6/sheet/grid/cell_placement.h"
#include "qbsvrl6/sheet/grid/grid_columns.h"
#include "qbsvrl6/sheet/grid/grid_rows.h"
#include "qbsvrl6/sheet/grid/row_pattern.h"

namespace qbsvrl6 {

class CellGrid {
public:
    // `edges` are the column edges, ascending; if there are fewer than two, there is one column as wide as
    // `paperWidth`.
    CellGrid(std::vector<Micrometres> edges, Micrometres paperWidth, GridFit fit)
        : columns_(std::move(edges), paperWidth), fit_(fit) {}
    CellGrid(const CellGrid&) = delete;
    CellGrid& operator=(const CellGrid&) = delete;

    int columnCount() const { return columns_.count(); }
    Micrometres columnWidth(int column) const { return columns_.width(column); }

    // The gap above the next row is measured from `top`.
    void beginPage(Micrometres top) { bottom_ = top; }

    // The rows of a band whose upper left corner is at x, y; valid until the next call.
    std::span<const CellRow> place(Band& band, Micrometres x, Micrometres y);

    // Logs a warning if anything could not stay at its position.
    void reportLosses() const;

private:
    void placeAnew(Band& band);
    void placeByPattern(Band& band);
    void draw(const Item& item);
    void addOverlay(const Item& item);
    void insetCell(Cell& cell) const;
    static void paintCell(Cell& cell, const Band& band);
    void collectCells();
    void settleHeights(const Band& band, Micrometres y);
    void settleInsets();

    GridColumns columns_;
    GridFit fit_;
    std::int64_t bottom_ = 0;
    RowPattern pattern_;
    bool isPatternPlaced_ = false;  // rows_ has its cells

    // For the current band.
    Micrometres x_ = 0;
    GridRows extents_{fit_};
    CellPlacement placement_{columns_, extents_, fit_};
    CellBorders borders_{columns_, extents_, placement_, fit_};
    std::vector<CellRow> rows_;  // never shrinks; the first extents_.count() are the result

    int lostLines_ = 0;
};

}  // namespace qbsvrl6

#endif

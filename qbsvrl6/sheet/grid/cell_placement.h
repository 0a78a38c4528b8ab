// Assigns cells to the items of a band.
#ifndef QBSVR_QBSVRL6_SHEET_GRID_CELL_PLACEMENT_H
#define QBSVR_QBSVRL6_SHEET_GRID_CELL_PLACEMENT_H

#include <string>
#include <vector>

#include "qbsvrl6/sheet/grid/grid_rows.h"

namespace qbsvrl6 {

// An item whose cells are taken moves to free cells beside them; if there are none, its text is added to the
// text of the cell.
class CellPlacement {
public:
    CellPlacement(const GridColumns& columns, const GridRows& rows, GridFit fit)
        : columns_(columns), rows_(rows), fit_(fit) {}

    // Assigns cells to the items of a band at x, whose rows have been found.
    void place(Band& band, Micrometres x);

    // In the order in which they were assigned.
    std::vector<Cell>& cells() { return cells_; }
    // The regions of the cells, in the same order.
    const std::vector<Region>& regions() const { return regions_; }
    // The index of the cell that covers a position; -1: free.
    int indexAt(int row, int column) const { return owners_[position(row, column)]; }
    bool isComplete() const;  // no position is free

    // The cell that covers a position; for a free position, makes a new cell.
    Cell& cellAt(int row, int column);

    // Pictures and drawings that found no free cells.
    const std::vector<const Item*>& overlays() const { return overlays_; }

    // The number of items, in all bands, that did not get all of their cells, and the text of the first one.
    int overlapCount() const { return overlaps_; }
    const std::string& firstOverlap() const { return firstOverlap_; }

private:
    std::size_t position(int row, int column) const {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_.count()) +
               static_cast<std::size_t>(column);
    }
    int& owner(int row, int column) { return owners_[position(row, column)]; }

    void claim(Item& item);
    bool isFree(int column, const Region& rows) const;
    bool isWhollyFree(const Region& region) const;
    void trimRows(Region& region) const;
    bool narrow(Region& region) const;
    bool findRoom(Region& region) const;
    void take(const Region& region, Item& item);
    void reachOut();

    const GridColumns& columns_;
    const GridRows& rows_;
    GridFit fit_;
    Micrometres x_ = 0;
    std::vector<int> owners_;  // index in cells_ for each of rows x columns; -1: free
    std::vector<Cell> cells_;
    std::vector<Region> regions_;  // of cells_
    std::vector<const Item*> overlays_;
    int overlaps_ = 0;
    std::string firstOverlap_;
};

}  // namespace qbsvrl6

#endif

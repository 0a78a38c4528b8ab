// Remembers the cells of a detail row, which the next row usually repeats.
#ifndef QBSVR_QBSVRL6_SHEET_GRID_ROW_PATTERN_H
#define QBSVR_QBSVRL6_SHEET_GRID_ROW_PATTERN_H

#include <vector>

#include "qbsvrl6/sheet/grid/cell_placement.h"

namespace qbsvrl6 {

class RowPattern {
public:
    // Whether the items of a band at x have the same boxes as the remembered row, apart from their height.
    bool matches(const Band& band, Micrometres x, GridFit fit) const;

    // Replaces the remembered row. Only bands that are a single row of texts are remembered.
    void remember(const Band& band, Micrometres x, const GridRows& rows, CellPlacement& placement);

    // The items from left to right, and the columns of each.
    const std::vector<std::size_t>& order() const { return order_; }
    const Region& region(std::size_t item) const { return regions_[item]; }

private:
    bool isComplete_ = false;  // no position in the row is free
    Micrometres x_ = 0;
    std::vector<Rect> boxes_;      // of each item
    std::vector<Region> regions_;  // of each item
    std::vector<std::size_t> order_;
};

}  // namespace qbsvrl6

#endif

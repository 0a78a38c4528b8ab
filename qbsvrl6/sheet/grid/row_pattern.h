// Remembers the cells of a detail row, which the next row usually repeats.
#ifndef QBSVR_QBSVRL6_SHEET_GRID_ROW_PATTERN_H
#define QBSVR_QBSVRL6_SHEET_GRID_ROW_PATTERN_H

#include <cstdint>
#include <vector>

#include "qbsvrl6/sheet/grid/cell_placement.h"

namespace qbsvrl6 {

class RowPattern {
public:
    // Whether a band at x has the form of the remembered row, and a cell for each of its items.
    bool matches(const Band& band, Micrometres x, GridFit fit) const;

    // Replaces the remembered row. Only bands that are a single row of texts are remembered.
    void remember(const Band& band, Micrometres x, const GridRows& rows, CellPlacement& placement);

    // A cell of the remembered row, whose place and side insets those of the other rows have as well.
    struct PlacedItem {
        Cell cell;
        std::size_t item = 0;  // its index in the band
    };
    // From left to right.
    const std::vector<PlacedItem>& items() const { return items_; }

private:
    std::uint32_t form_ = 0;  // 0: no row is remembered
    int columnGroup_ = 0;
    bool isComplete_ = false;  // no position in the row is free
    Micrometres x_ = 0;
    std::vector<PlacedItem> items_;
};

}  // namespace qbsvrl6

#endif

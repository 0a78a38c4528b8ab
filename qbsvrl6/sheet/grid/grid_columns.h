// The columns of a grid, which are fixed for the document.
#ifndef QBSVR_QBSVRL6_SHEET_GRID_GRID_COLUMNS_H
#define QBSVR_QBSVRL6_SHEET_GRID_GRID_COLUMNS_H

#include <vector>

#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

// A rectangle of cells; the ends are exclusive.
struct Region {
    int column = 0, columnEnd = 0;
    int row = 0, rowEnd = 0;
};

class GridColumns {
public:
    // The edges are ascending; if there are fewer than two, there is one column as wide as the paper.
    GridColumns(std::vector<Micrometres> edges, Micrometres paperWidth);

    int count() const { return static_cast<int>(edges_.size()) - 1; }
    Micrometres edge(int index) const { return edges_[static_cast<std::size_t>(index)]; }
    Micrometres width(int column) const { return edge(column + 1) - edge(column); }

    // The index of the nearest edge.
    int edgeNear(Micrometres x) const;
    // Sets the columns of a box with these sides: at least one.
    void locate(Region& region, Micrometres left, Micrometres right) const;

private:
    std::vector<Micrometres> edges_;
};

}  // namespace qbsvrl6

#endif

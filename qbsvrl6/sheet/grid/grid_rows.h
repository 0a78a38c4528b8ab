// The rows of a band, from the tops and bottoms of its items.
#ifndef QBSVR_QBSVRL6_SHEET_GRID_GRID_ROWS_H
#define QBSVR_QBSVRL6_SHEET_GRID_GRID_ROWS_H

#include <span>
#include <vector>

#include "qbsvrl6/sheet/grid/cell.h"
#include "qbsvrl6/sheet/grid/grid_columns.h"

namespace qbsvrl6 {

struct RowExtent {
    Micrometres top = 0, bottom = 0;
    // The smallest values among the items that begin in this row.
    Micrometres leastBottom = 0, leastHeight = 0;
};

class GridRows {
public:
    explicit GridRows(GridFit fit) : fit_(fit) {}

    void find(const Band& band);
    // Makes a single row.
    void set(Micrometres height);

    int count() const { return static_cast<int>(extents_.size()); }
    const RowExtent& operator[](int row) const { return extents_[static_cast<std::size_t>(row)]; }

    // The row that contains y, or the first one.
    int rowAt(Micrometres y) const;
    // Sets the rows of a box: at least one.
    void locate(Region& region, const Rect& box) const;

    // Whether something overlays the cells, so that the rows must keep their full height.
    bool haveOverlays() const { return haveOverlays_; }
    // Reserves height for an overlay from `top` down.
    void addOverlay(Micrometres top);

private:
    // An item that makes a row.
    struct ItemExtent {
        Micrometres top = 0, bottom = 0;
        Micrometres left = 0, right = 0;
    };

    void findLines(const Band& band);
    void findEdges(const Band& band);
    void addExtent(const Rect& box);
    void joinExtents();
    bool belongsToRow(std::span<const ItemExtent> row, const ItemExtent& next) const;
    void closeGapsInBoxes(const Band& band);
    int edgeAt(Micrometres y) const;
    bool covers(const Rect& box, int row) const;

    GridFit fit_;
    std::vector<ItemExtent> itemExtents_;  // by top
    std::vector<RowExtent> extents_;
    std::vector<Micrometres> edges_;  // of exact rows
    bool haveOverlays_ = false;
};

}  // namespace qbsvrl6

#endif

#include "qbsvrl6/sheet/grid/grid_rows.h"

#include <algorithm>

namespace qbsvrl6 {

void GridRows::find(const Band& band) {
    haveOverlays_ = false;
    if (fit_ == GridFit::Exact) {
        findEdges(band);
    } else {
        findLines(band);
    }
}

void GridRows::set(Micrometres height) {
    extents_.assign(1, {0, height, height, height});
    haveOverlays_ = false;
}

void GridRows::addOverlay(Micrometres top) {
    haveOverlays_ = true;
    extents_.front().top = std::min(extents_.front().top, top);
}

// Texts whose tops are within the tolerance of each other form one row, and so do those that are side by side
// for more than half of their height. Where pictures become their texts, those count like any other. A picture
// without text begins in a row that is next to it, and makes a row only if there is none. Lines and boxes make a
// row only if the band has nothing else.
void GridRows::findLines(const Band& band) {
    itemExtents_.clear();
    const auto isTextless = [&](const Item& item) {
        return isPicture(item) && (fit_ == GridFit::Overlay || textOf(item).empty());
    };
    for (const Item& item : band.items) {
        if (!isTextless(item) && takesCells(item, fit_)) addExtent(item.box);
    }
    joinExtents();
    for (const Item& item : band.items) {
        if (!isTextless(item)) continue;
        haveOverlays_ = haveOverlays_ || fit_ == GridFit::Overlay;
        const Rect& box = item.box;
        const bool isBesideRow = std::any_of(extents_.begin(), extents_.end(), [&](const RowExtent& row) {
            return row.top < box.bottom() && box.y < row.bottom;
        });
        if (!isBesideRow) addExtent(box);
    }
    joinExtents();
    if (haveOverlays_) {
        for (const Item& item : band.items) {
            if (isPicture(item)) extents_.front().top = std::min(extents_.front().top, item.box.y);
        }
    }
    closeGapsInBoxes(band);
    if (extents_.empty() && std::any_of(band.items.begin(), band.items.end(), isDecoration)) {
        extents_.push_back({0, band.height, band.height, band.height});
    }
}

// Edges within the tolerance of each other count as one.
void GridRows::findEdges(const Band& band) {
    extents_.clear();
    edges_.clear();
    for (const Item& item : band.items) {
        if (!isDecoration(item) && !takesCells(item, fit_)) continue;
        edges_.push_back(item.box.y);
        edges_.push_back(item.box.bottom());
    }
    if (edges_.empty()) return;
    for (const Item& item : band.items) {
        if (!std::holds_alternative<LineItem>(item.content) || item.box.height > kEdgeTolerance) continue;
        edges_.push_back(item.box.y);
    }
    if (band.background) edges_.insert(edges_.end(), {0, band.height});
    std::sort(edges_.begin(), edges_.end());
    std::size_t count = 1;
    for (const Micrometres edge : edges_) {
        if (edge - edges_[count - 1] > kEdgeTolerance) edges_[count++] = edge;
    }
    if (count == 1) edges_[count++] = edges_[0] + kEdgeTolerance;
    edges_.resize(count);
    for (std::size_t i = 1; i < count; ++i) {
        extents_.push_back({edges_[i - 1], edges_[i], edges_[i], edges_[i] - edges_[i - 1]});
    }
}

// A box that spans the space between two rows has no gap only if the upper row extends to the lower one.
void GridRows::closeGapsInBoxes(const Band& band) {
    for (std::size_t row = 1; row < extents_.size(); ++row) {
        const Micrometres top = extents_[row - 1].bottom;
        const Micrometres bottom = extents_[row].top;
        if (bottom - top <= kEdgeTolerance) continue;
        const bool inBox = std::any_of(band.items.begin(), band.items.end(), [&](const Item& item) {
            return std::holds_alternative<BoxItem>(item.content) && item.box.y < top &&
                   item.box.bottom() > bottom;
        });
        if (inBox) extents_[row - 1].bottom = bottom;
    }
}

void GridRows::addExtent(const Rect& box) {
    itemExtents_.push_back({box.y, box.bottom(), box.x, box.right()});
}

// Rebuilds the rows from all extents so far.
void GridRows::joinExtents() {
    std::stable_sort(itemExtents_.begin(), itemExtents_.end(),
                     [](const ItemExtent& a, const ItemExtent& b) { return a.top < b.top; });
    extents_.clear();
    std::size_t rowStart = 0;
    for (std::size_t i = 0; i < itemExtents_.size(); ++i) {
        const ItemExtent& item = itemExtents_[i];
        if (extents_.empty() || !belongsToRow({&itemExtents_[rowStart], i - rowStart}, item)) {
            rowStart = i;
            extents_.push_back({item.top, item.bottom, item.bottom, item.bottom - item.top});
            continue;
        }
        RowExtent& row = extents_.back();
        row.bottom = std::max(row.bottom, item.bottom);
        row.leastBottom = std::min(row.leastBottom, item.bottom);
        row.leastHeight = std::min(row.leastHeight, item.bottom - item.top);
    }
}

bool GridRows::belongsToRow(std::span<const ItemExtent> row, const ItemExtent& next) const {
    const RowExtent& extent = extents_.back();
    if (next.top - extent.top <= kEdgeTolerance) return true;
    if (2 * (extent.leastBottom - next.top) <= std::min(extent.leastHeight, next.bottom - next.top))
        return false;
    return std::all_of(row.begin(), row.end(), [&](const ItemExtent& item) {
        return next.left >= item.right - kEdgeTolerance || next.right <= item.left + kEdgeTolerance;
    });
}

// Whether a box that begins above a row extends into it by more than half the height of the row's smallest
// item. That item may begin below the top of the row, beside a higher one.
bool GridRows::covers(const Rect& box, int row) const {
    const RowExtent& extent = extents_[static_cast<std::size_t>(row)];
    return box.bottom() > std::max(extent.top + kEdgeTolerance, extent.leastBottom - extent.leastHeight / 2);
}

int GridRows::rowAt(Micrometres y) const {
    const auto below =
        std::upper_bound(extents_.begin(), extents_.end(), y,
                         [](Micrometres value, const RowExtent& row) { return value < row.top; });
    return std::max(static_cast<int>(below - extents_.begin()) - 1, 0);
}

// The exact row that begins with the last edge at or above `y`; count() for the last edge of all.
int GridRows::edgeAt(Micrometres y) const {
    const auto after = std::upper_bound(edges_.begin(), edges_.end(), y);
    return std::max(static_cast<int>(after - edges_.begin()) - 1, 0);
}

// A box begins in the row that contains its top or, if the items of that row end above the box, in the next
// one.
void GridRows::locate(Region& region, const Rect& box) const {
    if (fit_ == GridFit::Exact) {
        region.row = std::min(edgeAt(box.y), count() - 1);
        region.rowEnd = std::max(edgeAt(box.bottom()), region.row + 1);
        return;
    }
    region.row = rowAt(box.y);
    const auto next = static_cast<std::size_t>(region.row) + 1;
    if (next < extents_.size() && box.y >= extents_[next - 1].bottom - kEdgeTolerance &&
        covers(box, region.row + 1)) {
        ++region.row;
    }
    region.rowEnd = region.row + 1;
    while (region.rowEnd < count() && covers(box, region.rowEnd)) ++region.rowEnd;
}

}  // namespace qbsvrl6

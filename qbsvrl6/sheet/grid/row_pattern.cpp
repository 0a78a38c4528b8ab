#include "qbsvrl6/sheet/grid/row_pattern.h"

#include <algorithm>

namespace qbsvrl6 {

bool RowPattern::matches(const Band& band, Micrometres x, GridFit fit) const {
    if (band.kind != BandKind::Row || band.items.empty() || x != x_ || band.items.size() != boxes_.size() ||
        (band.background && !isComplete_)) {
        return false;
    }
    for (std::size_t i = 0; i < band.items.size(); ++i) {
        const Item& item = band.items[i];
        if (item.box.x != boxes_[i].x || item.box.width != boxes_[i].width || item.box.y != 0 ||
            item.box.height != band.height || isPicture(item) || !takesCells(item, fit)) {
            return false;
        }
    }
    return true;
}

void RowPattern::remember(const Band& band, Micrometres x, const GridRows& rows, CellPlacement& placement) {
    boxes_.clear();
    const bool isPlain = rows.count() == 1 && placement.cells().size() == band.items.size() &&
                         std::none_of(band.items.begin(), band.items.end(), isPending);
    if (!isPlain) return;
    x_ = x;
    isComplete_ = placement.isComplete();
    regions_ = placement.regions();
    order_.clear();
    for (const Item& item : band.items) {
        order_.push_back(boxes_.size());
        boxes_.push_back(item.box);
    }
    std::sort(order_.begin(), order_.end(),
              [&](std::size_t a, std::size_t b) { return regions_[a].column < regions_[b].column; });
}

}  // namespace qbsvrl6

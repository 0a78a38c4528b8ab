#include "qbsvrl6/sheet/grid/row_pattern.h"

#include <algorithm>

namespace qbsvrl6 {

bool RowPattern::matches(const Band& band, Micrometres x, GridFit fit) const {
    if (band.form == 0 || band.form != form_ || band.columnGroup != columnGroup_ || x != x_ ||
        (band.background && !isComplete_)) {
        return false;
    }
    return std::all_of(band.items.begin(), band.items.end(), [fit](const Item& item) {
        const bool fillsRow = item.column >= 0 && item.box.height >= kEdgeTolerance;
        return std::holds_alternative<TextItem>(item.content) && (fillsRow || takesCells(item, fit));
    });
}

void RowPattern::remember(const Band& band, Micrometres x, const GridRows& rows, CellPlacement& placement) {
    const bool isPlain = rows.count() == 1 && placement.cells().size() == band.items.size() &&
                         std::none_of(band.items.begin(), band.items.end(), isPending) &&
                         std::all_of(placement.cells().begin(), placement.cells().end(),
                                     [](const Cell& cell) { return cell.item != nullptr; });
    form_ = isPlain ? band.form : 0;
    if (form_ == 0) return;
    columnGroup_ = band.columnGroup;
    x_ = x;
    isComplete_ = placement.isComplete();
    items_.clear();
    for (const Cell& cell : placement.cells()) {
        items_.push_back({cell, static_cast<std::size_t>(cell.item - band.items.data())});
        items_.back().cell.inset.top = items_.back().cell.inset.bottom = 0;
    }
    std::sort(items_.begin(), items_.end(),
              [](const PlacedItem& a, const PlacedItem& b) { return a.cell.column < b.cell.column; });
}

}  // namespace qbsvrl6

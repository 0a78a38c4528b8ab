#include "qbsvrl6/sheet/grid/cell_grid.h"

#include <algorithm>
#include <string>

#include "qbsvrl6/support/log.h"

namespace qbsvrl6 {

std::span<const CellRow> CellGrid::place(Band& band, Micrometres x, Micrometres y) {
    x_ = x;
    const bool repeats = pattern_.matches(band, x, fit_);
    if (repeats) {
        placeByPattern(band);
    } else {
        for (CellRow& row : rows_) row.clear();
        placeAnew(band);
    }
    isPatternPlaced_ = repeats;
    settleHeights(band, y);
    if (!repeats) settleInsets();
    return std::span(rows_).first(static_cast<std::size_t>(extents_.count()));
}

void CellGrid::placeAnew(Band& band) {
    extents_.find(band);
    if (rows_.size() < static_cast<std::size_t>(extents_.count())) {
        rows_.resize(static_cast<std::size_t>(extents_.count()));
    }
    const int overlapsBefore = placement_.overlapCount();
    placement_.place(band, x_);
    for (const Item* const item : placement_.overlays()) addOverlay(*item);
    for (Cell& cell : placement_.cells()) {
        insetCell(cell);
        paintCell(cell, band);
    }
    if (band.background) borders_.fillBackground(band, x_);
    for (const Item& item : band.items) draw(item);
    collectCells();
    const bool isUndisturbed = placement_.overlapCount() == overlapsBefore;
    if (band.kind == BandKind::Row && isUndisturbed) pattern_.remember(band, x_, extents_, placement_);
}

void CellGrid::placeByPattern(Band& band) {
    extents_.set(band.height);
    std::vector<Cell>& cells = rows_.front().cells;
    if (!isPatternPlaced_) {
        for (CellRow& row : rows_) row.clear();
        for (const RowPattern::PlacedItem& placed : pattern_.items()) cells.push_back(placed.cell);
    }
    for (std::size_t i = 0; i < cells.size(); ++i) {
        cells[i].item = &band.items[pattern_.items()[i].item];
        paintCell(cells[i], band);
    }
}

// Lines and boxes become borders; slanted lines, pictures and drawings overlay the cells.
void CellGrid::draw(const Item& item) {
    if (const auto* line = std::get_if<LineItem>(&item.content)) {
        const LineResult result = borders_.drawLine(item.box, line->line, x_);
        if (result == LineResult::Lost) ++lostLines_;
        if (result == LineResult::Overlay) {
            extents_.addOverlay(item.box.y);
            addOverlay(item);
        }
    } else if (const auto* box = std::get_if<BoxItem>(&item.content)) {
        const BorderLine& edge = box->box.line;
        borders_.drawBox(item.box, {edge, edge, edge, edge}, box->box.fill, x_);
    } else if (fit_ == GridFit::Overlay && isPicture(item)) {
        addOverlay(item);
        if (item.style != nullptr) {
            borders_.drawBox(item.box, item.style->border, item.style->background, x_);
        }
    }
}

void CellGrid::addOverlay(const Item& item) {
    Region region;
    const Rect& box = item.box;
    columns_.locate(region, x_ + box.x, x_ + box.right());
    // Of exact rows, only the first one is sure to have a cell that begins in it.
    const int row = fit_ == GridFit::Exact ? 0 : extents_.rowAt(box.y);
    // The column that contains the left edge, so that the distance is not negative.
    while (region.column > 0 && columns_.edge(region.column) > x_ + box.x) --region.column;
    rows_[static_cast<std::size_t>(row)].overlays.push_back(
        {&item, region.column, std::max(0, x_ + box.x - columns_.edge(region.column)),
         std::max(0, box.y - extents_[row].top)});
}

// Sets the insets at the sides.
void CellGrid::insetCell(Cell& cell) const {
    if (cell.item == nullptr) return;
    const Rect& box = cell.item->box;
    cell.inset.left = std::max(x_ + box.x - columns_.edge(cell.column), 0);
    cell.inset.right = std::max(columns_.edge(cell.column + cell.columnSpan) - x_ - box.right(), 0);
}

void CellGrid::paintCell(Cell& cell, const Band& band) {
    if (cell.item != nullptr && cell.item->style != nullptr) {
        cell.background = cell.item->style->background;
        cell.border = cell.item->style->border;
    }
    if (!cell.background) cell.background = band.background;
}

void CellGrid::collectCells() {
    for (int row = 0; row < extents_.count(); ++row) {
        int last = -1;
        for (int column = 0; column < columnCount(); ++column) {
            const int index = placement_.indexAt(row, column);
            if (index >= 0 && index != last &&
                placement_.regions()[static_cast<std::size_t>(index)].row == row) {
                rows_[static_cast<std::size_t>(row)].cells.push_back(
                    placement_.cells()[static_cast<std::size_t>(index)]);
            }
            last = index;
        }
    }
}

// A row ends at the bottom of its lowest item, but no later than the next row begins; the space between them
// is the next row's gap. A band with overlays has no gaps: overlays have a fixed size, and the rows must fill
// the space that they cover.
void CellGrid::settleHeights(const Band& band, Micrometres y) {
    Micrometres lowest = 0;
    for (const Item& item : band.items) lowest = std::max(lowest, item.box.bottom());
    for (int index = 0; index < extents_.count(); ++index) {
        CellRow& row = rows_[static_cast<std::size_t>(index)];
        const Micrometres rowTop = extents_[index].top;
        const bool isLast = index + 1 == extents_.count();
        Micrometres bottom = extents_[index].bottom;
        row.tail = 0;
        if (isLast) {
            bottom = std::min(lowest, std::max(band.height, extents_[index].bottom));
            row.tail = std::max(band.height - bottom, 0);
        } else if (extents_.haveOverlays() || bottom > extents_[index + 1].top) {
            bottom = extents_[index + 1].top;
        }
        const std::int64_t top = static_cast<std::int64_t>(y) + rowTop;
        row.height = std::max(bottom - rowTop, kEdgeTolerance);
        row.keepsHeight = band.keepsHeight;
        row.gap = static_cast<Micrometres>(std::clamp<std::int64_t>(top - bottom_, 0, INT32_MAX));
        bottom_ = std::max(bottom_, top + row.height);
    }
    if (extents_.count() < 2 || fit_ == GridFit::Exact) return;
    // An item that extends a little into the next row has no cell there: its own row must be high enough.
    for (CellRow& row : std::span(rows_).first(static_cast<std::size_t>(extents_.count()))) {
        for (const Cell& cell : row.cells) {
            if (cell.item == nullptr || cell.rowSpan > 1) continue;
            row.height = std::max(row.height, cell.item->box.height);
        }
    }
}

// Sets the insets above and below.
void CellGrid::settleInsets() {
    for (int row = 0; row < extents_.count(); ++row) {
        for (Cell& cell : rows_[static_cast<std::size_t>(row)].cells) {
            if (cell.item == nullptr) continue;
            const int last = row + cell.rowSpan - 1;
            cell.inset.top = std::max(cell.item->box.y - extents_[row].top, 0);
            const Micrometres bottom = extents_[last].top + rows_[static_cast<std::size_t>(last)].height;
            cell.inset.bottom = std::max(bottom - cell.item->box.bottom(), 0);
        }
    }
}

void CellGrid::reportLosses() const {
    if (placement_.overlapCount() > 0) {
        logWarning(std::to_string(placement_.overlapCount()) +
                   " items overlap in the cells of the export and were moved or joined; the first reads \"" +
                   placement_.firstOverlap() + "\"");
    }
    if (lostLines_ > 0) {
        logWarning(std::to_string(lostLines_) +
                   " lines, slanted or shorter than the cells beside them, have no place in the cells of the "
                   "export");
    }
}

}  // namespace qbsvrl6

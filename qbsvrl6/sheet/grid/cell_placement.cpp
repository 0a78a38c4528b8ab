#include "qbsvrl6/sheet/grid/cell_placement.h"

#include <algorithm>

#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

// Whether a spreadsheet can indent the item's text from the side to which it is aligned.
bool isFlush(const Item& item) {
    return item.style == nullptr || item.style->align == HorizontalAlign::Left ||
           item.style->align == HorizontalAlign::Right;
}

}  // namespace

void CellPlacement::place(Band& band, Micrometres x) {
    x_ = x;
    owners_.assign(static_cast<std::size_t>(rows_.count()) * static_cast<std::size_t>(columns_.count()), -1);
    cells_.clear();
    regions_.clear();
    overlays_.clear();
    // Pending texts come first: what shares their cell waits for them. Pictures come last: they may overlay
    // texts.
    for (const bool pending : {true, false}) {
        for (Item& item : band.items) {
            if (takesCells(item, fit_) && !isPicture(item) && isPending(item) == pending) claim(item);
        }
    }
    for (Item& item : band.items) {
        if (takesCells(item, fit_) && isPicture(item)) claim(item);
    }
    if (fit_ == GridFit::Overlay) reachOut();
}

bool CellPlacement::isComplete() const {
    return std::find(owners_.begin(), owners_.end(), -1) == owners_.end();
}

Cell& CellPlacement::cellAt(int row, int column) {
    int& index = owner(row, column);
    if (index < 0) {
        index = static_cast<int>(cells_.size());
        cells_.emplace_back().column = column;
        regions_.push_back({column, column + 1, row, row + 1});
    }
    return cells_[static_cast<std::size_t>(index)];
}

void CellPlacement::claim(Item& item) {
    Region region;
    columns_.locate(region, x_ + item.box.x, x_ + item.box.right());
    rows_.locate(region, item.box);
    if (fit_ == GridFit::Exact) {
        if (isPicture(item) && !isWhollyFree(region)) {
            overlays_.push_back(&item);
            return;
        }
        trimRows(region);
    }
    const Region wanted = region;
    if (findRoom(region)) {
        take(region, item);
    } else {
        joinText(*cells_[static_cast<std::size_t>(indexAt(wanted.row, wanted.column))].item, item);
    }
    if (region.column == wanted.column && region.columnEnd == wanted.columnEnd &&
        region.rowEnd == wanted.rowEnd) {
        return;
    }
    if (overlaps_++ == 0) firstOverlap_ = toUtf8(textOf(item).substr(0, 80));
}

bool CellPlacement::isWhollyFree(const Region& region) const {
    for (int column = region.column; column < region.columnEnd; ++column) {
        if (!isFree(column, region)) return false;
    }
    return true;
}

// Gives up the first and last rows that are taken, if all rows in between are free.
void CellPlacement::trimRows(Region& region) const {
    const auto isTaken = [&](int row) {
        for (int column = region.column; column < region.columnEnd; ++column) {
            if (indexAt(row, column) >= 0) return true;
        }
        return false;
    };
    Region trimmed = region;
    while (trimmed.row < trimmed.rowEnd && isTaken(trimmed.row)) ++trimmed.row;
    while (trimmed.row < trimmed.rowEnd && isTaken(trimmed.rowEnd - 1)) --trimmed.rowEnd;
    for (int row = trimmed.row; row < trimmed.rowEnd; ++row) {
        if (isTaken(row)) return;
    }
    if (trimmed.row < trimmed.rowEnd) region = trimmed;
}

// An item that begins or ends well within a column gets all of the column if it is free: an indent then gives
// it its position on paper.
void CellPlacement::reachOut() {
    for (std::size_t i = 0; i < cells_.size(); ++i) {
        const Item& item = *cells_[i].item;
        if (item.column >= 0 || !isFlush(item)) continue;
        Region& region = regions_[i];
        while (region.column > 0 && x_ + item.box.x < columns_.edge(region.column) - kEdgeReach &&
               isFree(region.column - 1, region)) {
            --region.column;
        }
        while (region.columnEnd < columns_.count() &&
               x_ + item.box.right() > columns_.edge(region.columnEnd) + kEdgeReach &&
               isFree(region.columnEnd, region)) {
            ++region.columnEnd;
        }
        cells_[i].column = region.column;
        cells_[i].columnSpan = region.columnEnd - region.column;
        for (int row = region.row; row < region.rowEnd; ++row) {
            for (int column = region.column; column < region.columnEnd; ++column) {
                owner(row, column) = static_cast<int>(i);
            }
        }
    }
}

bool CellPlacement::isFree(int column, const Region& rows) const {
    for (int row = rows.row; row < rows.rowEnd; ++row) {
        if (indexAt(row, column) >= 0) return false;
    }
    return true;
}

// Narrows the region to the longest run of columns that are free in all of its rows.
bool CellPlacement::narrow(Region& region) const {
    int bestStart = 0;
    int bestLength = 0;
    int start = region.column;
    for (int column = region.column; column <= region.columnEnd; ++column) {
        if (column < region.columnEnd && isFree(column, region)) continue;
        if (column - start > bestLength) {
            bestStart = start;
            bestLength = column - start;
        }
        start = column + 1;
    }
    if (bestLength == 0) return false;
    region.column = bestStart;
    region.columnEnd = bestStart + bestLength;
    return true;
}

// Narrows the region to free columns in all of its rows, or else in the first one. If there are none, moves
// it to the next free cell to the right.
bool CellPlacement::findRoom(Region& region) const {
    if (narrow(region)) return true;
    region.rowEnd = region.row + 1;
    if (narrow(region)) return true;
    for (int column = region.columnEnd; column < columns_.count(); ++column) {
        if (!isFree(column, region)) continue;
        region.column = column;
        region.columnEnd = column + 1;
        return true;
    }
    region.columnEnd = region.column;  // nowhere
    return false;
}

void CellPlacement::take(const Region& region, Item& item) {
    const auto index = static_cast<int>(cells_.size());
    Cell& cell = cells_.emplace_back();
    cell.column = region.column;
    cell.columnSpan = region.columnEnd - region.column;
    cell.rowSpan = region.rowEnd - region.row;
    cell.item = &item;
    regions_.push_back(region);
    for (int row = region.row; row < region.rowEnd; ++row) {
        for (int column = region.column; column < region.columnEnd; ++column) owner(row, column) = index;
    }
}

}  // namespace qbsvrl6

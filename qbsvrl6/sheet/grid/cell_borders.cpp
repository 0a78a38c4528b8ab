#include "qbsvrl6/sheet/grid/cell_borders.h"

#include <algorithm>
#include <cstdint>

namespace qbsvrl6 {

namespace {

// The wider line wins.
void strengthen(BorderLine& line, const BorderLine& other) {
    if (other.width > line.width) line = other;
}

}  // namespace

Region CellBorders::regionOf(const Rect& box, Micrometres x) const {
    Region region;
    columns_.locate(region, x + box.x, x + box.right());
    rows_.locate(region, box);
    return region;
}

void CellBorders::fillBackground(const Band& band, Micrometres x) {
    Region region;
    columns_.locate(region, x, x + band.width);
    for (int row = 0; row < rows_.count(); ++row) {
        for (int column = region.column; column < region.columnEnd; ++column) {
            Cell& cell = placement_.cellAt(row, column);
            if (cell.item == nullptr) cell.background = band.background;
        }
    }
}

// Horizontal and vertical lines become borders of the adjacent cells.
LineResult CellBorders::drawLine(const Rect& box, const LineContent& content, Micrometres x) {
    const BorderLine line{std::max(content.width, 1), content.color, content.dashed};
    if (box.height <= kEdgeTolerance) return drawHorizontalLine(box, line, x);
    if (box.width > kEdgeTolerance) return fit_ == GridFit::Overlay ? LineResult::Overlay : LineResult::Lost;
    drawVerticalLine(box, line, x);
    return LineResult::Border;
}

void CellBorders::drawVerticalLine(const Rect& box, const BorderLine& line, Micrometres x) {
    Region region;
    rows_.locate(region, box);
    const int edge = columns_.edgeNear(x + box.x);
    for (int row = region.row; row < region.rowEnd; ++row) {
        if (edge < columns_.count()) {
            strengthen(placement_.cellAt(row, edge).border.left, line);
        } else {
            strengthen(placement_.cellAt(row, edge - 1).border.right, line);
        }
    }
}

// A line that ends within a cell, or crosses one that spans rows, is not a border. It overlays the cells or,
// in formats without such overlays, becomes the border of the cells that it covers by at least half.
LineResult CellBorders::drawHorizontalLine(const Rect& box, const BorderLine& line, Micrometres x) {
    const Region region = regionOf(box, x);
    const bool isAbove = box.y <= rows_[region.row].top + kEdgeTolerance;
    const Micrometres left = x + box.x;
    const Micrometres right = x + box.right();
    const auto regionAt = [&](int column) {
        const int index = placement_.indexAt(region.row, column);
        return index < 0 ? Region{column, column + 1, region.row, region.row + 1}
                         : placement_.regions()[static_cast<std::size_t>(index)];
    };
    const auto hasEdge = [&](const Region& cell) {
        return isAbove ? cell.row == region.row : cell.rowEnd == region.row + 1;
    };
    const auto covered = [&](const Region& cell) {
        return std::min(right, columns_.edge(cell.columnEnd)) - std::max(left, columns_.edge(cell.column));
    };
    const auto width = [&](const Region& cell) {
        return columns_.edge(cell.columnEnd) - columns_.edge(cell.column);
    };
    bool isBorder = true;
    for (int column = region.column; column < region.columnEnd;) {
        const Region cell = regionAt(column);
        isBorder = isBorder && hasEdge(cell) && width(cell) - covered(cell) <= kEdgeReach;
        column = cell.columnEnd;
    }
    if (!isBorder && fit_ == GridFit::Overlay) return LineResult::Overlay;
    bool isLost = true;
    for (int column = region.column; column < region.columnEnd;) {
        const Region cell = regionAt(column);
        column = cell.columnEnd;
        if (!hasEdge(cell) || 2 * std::int64_t{covered(cell)} < width(cell)) continue;
        Border& border = placement_.cellAt(region.row, cell.column).border;
        strengthen(isAbove ? border.top : border.bottom, line);
        isLost = false;
    }
    return isLost ? LineResult::Lost : LineResult::Border;
}

void CellBorders::drawBox(const Rect& box, const Border& border, const std::optional<Color>& fill,
                          Micrometres x) {
    if (!fill && border == Border{}) return;

    Region region = regionOf(box, x);
    // A box begins a little above its own text, which may be next to the end of a taller row: then the box
    // belongs to the row below that one.
    const int next = region.row + 1;
    if (region.rowEnd > region.row + 1 && rows_[next].top - box.y <= 2 * kEdgeTolerance &&
        box.y - rows_[next - 1].top > 2 * kEdgeTolerance) {
        ++region.row;
    }
    for (int row = region.row; row < region.rowEnd; ++row) {
        for (int column = region.column; column < region.columnEnd; ++column) {
            const bool isEdge = row == region.row || row == region.rowEnd - 1 || column == region.column ||
                                column == region.columnEnd - 1;
            if (!isEdge && !fill) continue;
            Cell& cell = placement_.cellAt(row, column);
            if (fill && !cell.background) cell.background = fill;
            if (row == region.row) strengthen(cell.border.top, border.top);
            if (row == region.rowEnd - 1) strengthen(cell.border.bottom, border.bottom);
            if (column == region.column) strengthen(cell.border.left, border.left);
            if (column == region.columnEnd - 1) strengthen(cell.border.right, border.right);
        }
    }
}

}  // namespace qbsvrl6

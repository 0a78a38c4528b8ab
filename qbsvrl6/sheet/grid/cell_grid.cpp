#include "qbsvrl6/sheet/grid/cell_grid.h"

#include <algorithm>
#include <utility>

#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

// Edges nearer than this are meant to be one.
constexpr Micrometres kTolerance = kMicrometresPerMillimetre;

// What ends this near to the edge of a cell fills the cell.
constexpr Micrometres kReach = 3 * kTolerance;

bool isDecoration(const Item& item) {
    return std::holds_alternative<LineItem>(item.content) || std::holds_alternative<BoxItem>(item.content);
}

bool isPicture(const Item& item) {
    return std::holds_alternative<PictureItem>(item.content) ||
           std::holds_alternative<DrawingItem>(item.content);
}

// Whether a spreadsheet can hold the item's text off its side of the cell.
bool isFlush(const Item& item) {
    return item.style == nullptr || item.style->align == HorizontalAlign::Left ||
           item.style->align == HorizontalAlign::Right;
}

// The stronger line stays.
void strengthen(BorderLine& line, const BorderLine& other) {
    if (other.width > line.width) line = other;
}

}  // namespace

bool isPending(const Item& item) {
    const auto* text = std::get_if<TextItem>(&item.content);
    return text != nullptr && text->pending;
}

std::u16string_view textOf(const Item& item) {
    if (const auto* text = std::get_if<TextItem>(&item.content)) return text->text;
    if (const auto* drawing = std::get_if<DrawingItem>(&item.content)) return drawing->alternateText;
    if (const auto* picture = std::get_if<PictureItem>(&item.content)) return picture->alternateText;
    return {};
}

CellGrid::CellGrid(std::vector<Micrometres> cuts, Micrometres paperWidth, GridFit fit)
    : cuts_(std::move(cuts)), fit_(fit) {
    cuts_.erase(std::unique(cuts_.begin(), cuts_.end()), cuts_.end());
    if (cuts_.size() < 2) cuts_ = {0, std::max(paperWidth, kTolerance)};
}

std::span<const CellRow> CellGrid::place(Band& band, Micrometres x, Micrometres y) {
    x_ = x;
    for (CellRow& row : rows_) row.clear();
    const bool isLikeBefore = placeLikeBefore(band);
    if (!isLikeBefore) placeAnew(band);
    settleHeights(band, y);
    if (!isLikeBefore) settleInsets();
    return {rows_.data(), extents_.size()};
}

void CellGrid::placeAnew(Band& band) {
    if (fit_ == GridFit::Exact) {
        makeExactRows(band);
    } else {
        makeRows(band);
    }
    owners_.assign(extents_.size() * static_cast<std::size_t>(columnCount()), -1);
    placed_.clear();
    regions_.clear();
    const int overlapsBefore = overlaps_;
    // Late texts come first: they can't join another text. Pictures come last: they may lie above texts.
    for (const bool late : {true, false}) {
        for (Item& item : band.items) {
            if (takesCells(item) && !isPicture(item) && isPending(item) == late) claim(item);
        }
    }
    for (Item& item : band.items) {
        if (takesCells(item) && isPicture(item)) claim(item);
    }
    if (fit_ == GridFit::Floating) reachOut();
    for (Cell& cell : placed_) styleCell(cell, band);
    if (band.background) fillBackground(band);
    for (const Item& item : band.items) {
        if (const auto* line = std::get_if<LineItem>(&item.content)) drawLine(item, line->line);
        if (const auto* box = std::get_if<BoxItem>(&item.content)) {
            const BorderLine& edge = box->box.line;
            drawBox(item.box, {edge, edge, edge, edge}, box->box.fill);
        }
        if (fit_ != GridFit::Floating || !isPicture(item)) continue;
        addFloat(item);
        if (item.style != nullptr) drawBox(item.box, item.style->border, item.style->background);
    }
    collectCells();
    if (band.kind == BandKind::Row && overlaps_ == overlapsBefore) rememberPattern(band);
}

// A detail row repeats the boxes of the row before it, height apart.
bool CellGrid::placeLikeBefore(Band& band) {
    if (band.kind != BandKind::Row || band.items.empty() || x_ != pattern_.x ||
        band.items.size() != pattern_.boxes.size() || (band.background && !pattern_.complete)) {
        return false;
    }
    for (std::size_t i = 0; i < band.items.size(); ++i) {
        const Item& item = band.items[i];
        const Rect& box = pattern_.boxes[i];
        if (item.box.x != box.x || item.box.width != box.width || item.box.y != 0 ||
            item.box.height != band.height || isPicture(item) || !takesCells(item)) {
            return false;
        }
    }
    extents_.assign(1, {0, band.height, band.height, band.height});
    hasFloats_ = false;
    for (const std::size_t i : pattern_.order) {
        const Region& region = pattern_.regions[i];
        Cell& cell = rows_.front().cells.emplace_back();
        cell.column = region.column;
        cell.columnSpan = region.columnEnd - region.column;
        cell.item = &band.items[i];
        styleCell(cell, band);
    }
    return true;
}

void CellGrid::rememberPattern(const Band& band) {
    pattern_.boxes.clear();
    const bool isPlain = rowCount() == 1 && placed_.size() == band.items.size() &&
                         std::none_of(band.items.begin(), band.items.end(), isPending);
    if (!isPlain) return;
    pattern_.x = x_;
    pattern_.complete = std::find(owners_.begin(), owners_.end(), -1) == owners_.end();
    pattern_.regions = regions_;
    pattern_.order.clear();
    for (const Item& item : band.items) {
        pattern_.order.push_back(pattern_.boxes.size());
        pattern_.boxes.push_back(item.box);
    }
    std::sort(pattern_.order.begin(), pattern_.order.end(), [&](std::size_t a, std::size_t b) {
        return pattern_.regions[a].column < pattern_.regions[b].column;
    });
}

int CellGrid::cutNear(Micrometres x) const {
    const auto after = std::lower_bound(cuts_.begin(), cuts_.end(), x);
    if (after == cuts_.begin()) return 0;
    if (after == cuts_.end()) return columnCount();
    const auto index = static_cast<int>(after - cuts_.begin());
    return *after - x < x - *(after - 1) ? index : index - 1;
}

void CellGrid::setColumns(Region& region, const Rect& box) const {
    region.column = std::min(cutNear(x_ + box.x), columnCount() - 1);
    region.columnEnd = std::max(cutNear(x_ + box.right()), region.column + 1);
}

// Whether a box that begins above a row reaches into it: over half of the row's least item.
bool CellGrid::covers(const Rect& box, int row) const {
    const RowExtent& extent = extents_[static_cast<std::size_t>(row)];
    return box.bottom() > extent.top + std::max(kTolerance, extent.leastHeight / 2);
}

int CellGrid::rowAt(Micrometres y) const {
    const auto below =
        std::upper_bound(extents_.begin(), extents_.end(), y,
                         [](Micrometres value, const RowExtent& row) { return value < row.top; });
    return std::max(static_cast<int>(below - extents_.begin()) - 1, 0);
}

// The exact row that begins with the edge nearest above `y`; rowCount() for the last edge.
int CellGrid::edgeAt(Micrometres y) const {
    const auto after = std::upper_bound(edges_.begin(), edges_.end(), y);
    return std::max(static_cast<int>(after - edges_.begin()) - 1, 0);
}

// A box begins in the row that holds its top, or, where that row's items end above it, in the next one.
void CellGrid::setRows(Region& region, const Rect& box) const {
    if (fit_ == GridFit::Exact) {
        region.row = std::min(edgeAt(box.y), rowCount() - 1);
        region.rowEnd = std::max(edgeAt(box.bottom()), region.row + 1);
        return;
    }
    region.row = rowAt(box.y);
    const auto next = static_cast<std::size_t>(region.row) + 1;
    if (next < extents_.size() && box.y >= extents_[next - 1].bottom - kTolerance &&
        covers(box, region.row + 1)) {
        ++region.row;
    }
    region.rowEnd = region.row + 1;
    while (region.rowEnd < rowCount() && covers(box, region.rowEnd)) ++region.rowEnd;
}

// Texts whose tops are within the tolerance of each other are one row, and so are those that stand beside
// each other for more than half of their height. A picture begins in a row that it stands beside, and makes
// one of its own only where there is none. Lines and boxes make a row only where nothing else stands in the
// band.
void CellGrid::makeRows(const Band& band) {
    itemExtents_.clear();
    hasFloats_ = false;
    for (const Item& item : band.items) {
        if (!isPicture(item) && takesCells(item)) addExtent(item.box);
    }
    joinExtents();
    for (const Item& item : band.items) {
        if (!isPicture(item)) continue;
        hasFloats_ = hasFloats_ || fit_ == GridFit::Floating;
        const Rect& box = item.box;
        const bool standsBeside = std::any_of(extents_.begin(), extents_.end(), [&](const RowExtent& row) {
            return row.top < box.bottom() && box.y < row.bottom;
        });
        if (!standsBeside) addExtent(box);
    }
    joinExtents();
    if (hasFloats_) {
        for (const Item& item : band.items) {
            if (isPicture(item)) extents_.front().top = std::min(extents_.front().top, item.box.y);
        }
    }
    closeGapsInBoxes(band);
    if (extents_.empty() && std::any_of(band.items.begin(), band.items.end(), isDecoration)) {
        extents_.push_back({0, band.height, band.height, band.height});
    }
    if (rows_.size() < extents_.size()) rows_.resize(extents_.size());
}

// Edges within the tolerance are one.
void CellGrid::makeExactRows(const Band& band) {
    extents_.clear();
    edges_.clear();
    hasFloats_ = false;
    for (const Item& item : band.items) {
        if (!isDecoration(item) && !takesCells(item)) continue;
        edges_.push_back(item.box.y);
        edges_.push_back(item.box.bottom());
    }
    if (edges_.empty()) return;
    for (const Item& item : band.items) {
        if (!std::holds_alternative<LineItem>(item.content) || item.box.height > kTolerance) continue;
        edges_.push_back(item.box.y);
    }
    if (band.background) edges_.insert(edges_.end(), {0, band.height});
    std::sort(edges_.begin(), edges_.end());
    std::size_t count = 1;
    for (const Micrometres edge : edges_) {
        if (edge - edges_[count - 1] > kTolerance) edges_[count++] = edge;
    }
    if (count == 1) edges_[count++] = edges_[0] + kTolerance;
    edges_.resize(count);
    for (std::size_t i = 1; i < count; ++i) {
        extents_.push_back({edges_[i - 1], edges_[i], edges_[i], edges_[i] - edges_[i - 1]});
    }
    if (rows_.size() < extents_.size()) rows_.resize(extents_.size());
}

// A box that goes on over the space between two rows is whole only if the upper one ends at the lower one.
void CellGrid::closeGapsInBoxes(const Band& band) {
    for (std::size_t row = 1; row < extents_.size(); ++row) {
        const Micrometres top = extents_[row - 1].bottom;
        const Micrometres bottom = extents_[row].top;
        if (bottom - top <= kTolerance) continue;
        const bool inBox = std::any_of(band.items.begin(), band.items.end(), [&](const Item& item) {
            return std::holds_alternative<BoxItem>(item.content) && item.box.y < top &&
                   item.box.bottom() > bottom;
        });
        if (inBox) extents_[row - 1].bottom = bottom;
    }
}

void CellGrid::addExtent(const Rect& box) {
    itemExtents_.push_back({box.y, box.bottom(), box.x, box.right()});
}

// Makes the rows of all extents so far.
void CellGrid::joinExtents() {
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

bool CellGrid::belongsToRow(std::span<const ItemExtent> row, const ItemExtent& next) const {
    const RowExtent& extent = extents_.back();
    if (next.top - extent.top <= kTolerance) return true;
    if (2 * (extent.leastBottom - next.top) <= std::min(extent.leastHeight, next.bottom - next.top))
        return false;
    return std::all_of(row.begin(), row.end(), [&](const ItemExtent& item) {
        return next.left >= item.right - kTolerance || next.right <= item.left + kTolerance;
    });
}

// A row ends with the lowest of its items, at the latest where the next one begins; what is left between them
// is the next row's gap. Below something that floats there are no gaps: it keeps its size, and the rows must
// keep its room.
void CellGrid::settleHeights(const Band& band, Micrometres y) {
    Micrometres lowest = 0;
    for (const Item& item : band.items) lowest = std::max(lowest, item.box.bottom());
    for (std::size_t row = 0; row < extents_.size(); ++row) {
        const Micrometres rowTop = extents_[row].top;
        const bool isLast = row + 1 == extents_.size();
        Micrometres bottom = extents_[row].bottom;
        rows_[row].tail = 0;
        if (isLast) {
            bottom = std::min(lowest, std::max(band.height, extents_[row].bottom));
            rows_[row].tail = std::max(band.height - bottom, 0);
        } else if (hasFloats_ || bottom > extents_[row + 1].top) {
            bottom = extents_[row + 1].top;
        }
        const std::int64_t top = static_cast<std::int64_t>(y) + rowTop;
        rows_[row].height = std::max(bottom - rowTop, kTolerance);
        rows_[row].gap = static_cast<Micrometres>(std::clamp<std::int64_t>(top - bottom_, 0, INT32_MAX));
        bottom_ = std::max(bottom_, top + rows_[row].height);
    }
    if (extents_.size() < 2 || fit_ == GridFit::Exact) return;
    // An item that reaches a little into the next row has no part in it: its own row must hold it.
    for (std::size_t row = 0; row < extents_.size(); ++row) {
        for (const Cell& cell : rows_[row].cells) {
            if (cell.item == nullptr || cell.rowSpan > 1) continue;
            rows_[row].height = std::max(rows_[row].height, cell.item->box.height);
        }
    }
}

// Above and below; those on the sides are known from the start.
void CellGrid::settleInsets() {
    for (std::size_t row = 0; row < extents_.size(); ++row) {
        for (Cell& cell : rows_[row].cells) {
            if (cell.item == nullptr) continue;
            const std::size_t last = row + static_cast<std::size_t>(cell.rowSpan) - 1;
            cell.inset.top = std::max(cell.item->box.y - extents_[row].top, 0);
            cell.inset.bottom =
                std::max(extents_[last].top + rows_[last].height - cell.item->box.bottom(), 0);
        }
    }
}

// A text that shows nothing takes no cell, unless it is the grid's and its row isn't flat.
bool CellGrid::takesCells(const Item& item) const {
    if (isDecoration(item)) return false;
    if (isPicture(item)) return fit_ != GridFit::Floating;
    const auto& text = std::get<TextItem>(item.content);
    if (!text.text.empty() || text.pending || (item.column >= 0 && item.box.height >= kTolerance))
        return true;
    return item.style != nullptr && (item.style->background || item.style->border != Border{});
}

void CellGrid::claim(Item& item) {
    Region region;
    setColumns(region, item.box);
    setRows(region, item.box);
    if (fit_ == GridFit::Exact) {
        if (isPicture(item) && !isWhollyFree(region)) {
            addFloat(item);
            return;
        }
        trimRows(region);
    }
    const Region wanted = region;
    if (findRoom(region)) {
        take(region, item);
    } else {
        join(wanted, item);
    }
    if (region.column == wanted.column && region.columnEnd == wanted.columnEnd &&
        region.rowEnd == wanted.rowEnd) {
        return;
    }
    if (overlaps_++ == 0) firstOverlap_ = toUtf8(textOf(item).substr(0, 80));
}

bool CellGrid::isWhollyFree(const Region& region) const {
    for (int column = region.column; column < region.columnEnd; ++column) {
        if (!isFree(column, region)) return false;
    }
    return true;
}

// Leaves the first and last rows to what stands there, if that makes room.
void CellGrid::trimRows(Region& region) const {
    const auto isTaken = [&](int row) {
        for (int column = region.column; column < region.columnEnd; ++column) {
            if (owner(row, column) >= 0) return true;
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

// What begins or ends well within a column takes all of it where it is free: then it can stand in its place.
void CellGrid::reachOut() {
    for (std::size_t i = 0; i < placed_.size(); ++i) {
        const Item& item = *placed_[i].item;
        if (item.column >= 0 || !isFlush(item)) continue;
        Region& region = regions_[i];
        const auto cut = [&](int column) { return cuts_[static_cast<std::size_t>(column)]; };
        while (region.column > 0 && x_ + item.box.x < cut(region.column) - kReach &&
               isFree(region.column - 1, region)) {
            --region.column;
        }
        while (region.columnEnd < columnCount() && x_ + item.box.right() > cut(region.columnEnd) + kReach &&
               isFree(region.columnEnd, region)) {
            ++region.columnEnd;
        }
        placed_[i].column = region.column;
        placed_[i].columnSpan = region.columnEnd - region.column;
        for (int row = region.row; row < region.rowEnd; ++row) {
            for (int column = region.column; column < region.columnEnd; ++column) {
                owner(row, column) = static_cast<int>(i);
            }
        }
    }
}

bool CellGrid::isFree(int column, const Region& rows) const {
    for (int row = rows.row; row < rows.rowEnd; ++row) {
        if (owner(row, column) >= 0) return false;
    }
    return true;
}

// Narrows the region to its longest stretch of columns that are free in all its rows.
bool CellGrid::narrow(Region& region) const {
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

// Of all rows, or the first one; without room there, moves the region to the next free cell on its right.
bool CellGrid::findRoom(Region& region) const {
    if (narrow(region)) return true;
    region.rowEnd = region.row + 1;
    if (narrow(region)) return true;
    for (int column = region.columnEnd; column < columnCount(); ++column) {
        if (!isFree(column, region)) continue;
        region.column = column;
        region.columnEnd = column + 1;
        return true;
    }
    region.columnEnd = region.column;  // nowhere
    return false;
}

void CellGrid::take(const Region& region, Item& item) {
    const auto index = static_cast<int>(placed_.size());
    Cell& cell = placed_.emplace_back();
    cell.column = region.column;
    cell.columnSpan = region.columnEnd - region.column;
    cell.rowSpan = region.rowEnd - region.row;
    cell.item = &item;
    regions_.push_back(region);
    for (int row = region.row; row < region.rowEnd; ++row) {
        for (int column = region.column; column < region.columnEnd; ++column) owner(row, column) = index;
    }
}

// Adds what the item reads to the text of the cell that stands there. Late texts and pictures can't take it:
// then the warning is all that is left of it.
void CellGrid::join(const Region& region, const Item& item) {
    const std::u16string_view text = textOf(item);
    Item& owning = *placed_[static_cast<std::size_t>(owner(region.row, region.column))].item;
    auto* there = std::get_if<TextItem>(&owning.content);
    if (text.empty() || there == nullptr || there->pending) return;
    if (!there->text.empty()) there->text += u' ';
    if (const auto* joined = std::get_if<TextItem>(&item.content)) {
        for (PageField field : joined->pageFields) {
            field.start += there->text.size();
            there->pageFields.push_back(field);
        }
    }
    there->text += text;
    there->value = {};
    const auto* const joined = std::get_if<TextItem>(&item.content);
    if (joined != nullptr && there->link.empty()) there->link = joined->link;
}

void CellGrid::addFloat(const Item& item) {
    Region region;
    setColumns(region, item.box);
    const Rect& box = item.box;
    // Among exact rows the first one alone is sure to have a cell that begins in it.
    const auto row = fit_ == GridFit::Exact ? 0 : static_cast<std::size_t>(rowAt(box.y));
    // Of the column that holds the left edge, so that the distance isn't negative.
    while (region.column > 0 && cuts_[static_cast<std::size_t>(region.column)] > x_ + box.x) --region.column;
    rows_[row].floats.push_back({&item, region.column,
                                 std::max(0, x_ + box.x - cuts_[static_cast<std::size_t>(region.column)]),
                                 std::max(0, box.y - extents_[row].top)});
}

void CellGrid::styleCell(Cell& cell, const Band& band) const {
    if (cell.item != nullptr) {
        const auto column = static_cast<std::size_t>(cell.column);
        const Rect& box = cell.item->box;
        cell.inset.left = std::max(x_ + box.x - cuts_[column], 0);
        cell.inset.right =
            std::max(cuts_[column + static_cast<std::size_t>(cell.columnSpan)] - x_ - box.right(), 0);
    }
    if (cell.item != nullptr && cell.item->style != nullptr) {
        cell.background = cell.item->style->background;
        cell.border = cell.item->style->border;
    }
    if (!cell.background) cell.background = band.background;
}

// The cell that covers a place; a free place becomes a cell of its own.
Cell& CellGrid::cellAt(int row, int column) {
    int& index = owner(row, column);
    if (index < 0) {
        index = static_cast<int>(placed_.size());
        placed_.emplace_back().column = column;
        regions_.push_back({column, column + 1, row, row + 1});
    }
    return placed_[static_cast<std::size_t>(index)];
}

void CellGrid::fillBackground(const Band& band) {
    Region region;
    setColumns(region, {0, 0, band.width, band.height});
    for (int row = 0; row < rowCount(); ++row) {
        for (int column = region.column; column < region.columnEnd; ++column) {
            Cell& cell = cellAt(row, column);
            if (cell.item == nullptr) cell.background = band.background;
        }
    }
}

// Horizontal and vertical lines become borders of the cells beside them; slanted ones have no place in a
// grid.
void CellGrid::drawLine(const Item& item, const LineContent& content) {
    const Rect& box = item.box;
    const BorderLine line{std::max(content.width, 1), content.color, content.dashed};
    if (box.height <= kTolerance) {
        drawHorizontalLine(item, line);
    } else if (box.width <= kTolerance) {
        Region region;
        setRows(region, box);
        const int cut = cutNear(x_ + box.x);
        for (int row = region.row; row < region.rowEnd; ++row) {
            if (cut < columnCount()) {
                strengthen(cellAt(row, cut).border.left, line);
            } else {
                strengthen(cellAt(row, cut - 1).border.right, line);
            }
        }
    } else if (fit_ == GridFit::Floating) {
        floatLine(item);
    } else {
        ++lostLines_;
    }
}

// The rows keep the room that the line has on paper.
void CellGrid::floatLine(const Item& item) {
    hasFloats_ = true;
    extents_.front().top = std::min(extents_.front().top, item.box.y);
    addFloat(item);
}

// A line that ends within a cell, or goes through one that spans rows, is no border: it lies above the cells,
// or, where nothing does, becomes the border of the cells that it covers for the most part.
void CellGrid::drawHorizontalLine(const Item& item, const BorderLine& line) {
    const Rect& box = item.box;
    Region region;
    setColumns(region, box);
    setRows(region, box);
    const bool isAbove = box.y <= extents_[static_cast<std::size_t>(region.row)].top + kTolerance;
    const Micrometres left = x_ + box.x;
    const Micrometres right = x_ + box.right();
    const auto cutAt = [&](int cut) { return cuts_[static_cast<std::size_t>(cut)]; };
    const auto regionAt = [&](int column) {
        const int index = owner(region.row, column);
        return index < 0 ? Region{column, column + 1, region.row, region.row + 1}
                         : regions_[static_cast<std::size_t>(index)];
    };
    const auto hasEdge = [&](const Region& cell) {
        return isAbove ? cell.row == region.row : cell.rowEnd == region.row + 1;
    };
    const auto covered = [&](const Region& cell) {
        return std::min(right, cutAt(cell.columnEnd)) - std::max(left, cutAt(cell.column));
    };
    const auto width = [&](const Region& cell) { return cutAt(cell.columnEnd) - cutAt(cell.column); };
    bool isBorder = true;
    for (int column = region.column; column < region.columnEnd;) {
        const Region cell = regionAt(column);
        isBorder = isBorder && hasEdge(cell) && width(cell) - covered(cell) <= kReach;
        column = cell.columnEnd;
    }
    if (!isBorder && fit_ == GridFit::Floating) return floatLine(item);
    bool isLost = true;
    for (int column = region.column; column < region.columnEnd;) {
        const Region cell = regionAt(column);
        column = cell.columnEnd;
        if (!hasEdge(cell) || 2 * std::int64_t{covered(cell)} < width(cell)) continue;
        Border& border = cellAt(region.row, cell.column).border;
        strengthen(isAbove ? border.top : border.bottom, line);
        isLost = false;
    }
    lostLines_ += isLost ? 1 : 0;
}

void CellGrid::drawBox(const Rect& box, const Border& border, const std::optional<Color>& fill) {
    if (!fill && border == Border{}) return;

    Region region;
    setColumns(region, box);
    setRows(region, box);
    // A box begins a little above its own text, which may be beside the end of a higher row.
    const auto next = static_cast<std::size_t>(region.row) + 1;
    if (region.rowEnd > region.row + 1 && extents_[next].top - box.y <= 2 * kTolerance &&
        box.y - extents_[next - 1].top > 2 * kTolerance) {
        ++region.row;
    }
    for (int row = region.row; row < region.rowEnd; ++row) {
        for (int column = region.column; column < region.columnEnd; ++column) {
            const bool isEdge = row == region.row || row == region.rowEnd - 1 || column == region.column ||
                                column == region.columnEnd - 1;
            if (!isEdge && !fill) continue;
            Cell& cell = cellAt(row, column);
            if (fill && !cell.background) cell.background = fill;
            if (row == region.row) strengthen(cell.border.top, border.top);
            if (row == region.rowEnd - 1) strengthen(cell.border.bottom, border.bottom);
            if (column == region.column) strengthen(cell.border.left, border.left);
            if (column == region.columnEnd - 1) strengthen(cell.border.right, border.right);
        }
    }
}

void CellGrid::collectCells() {
    for (int row = 0; row < rowCount(); ++row) {
        int last = -1;
        for (int column = 0; column < columnCount(); ++column) {
            const int index = owner(row, column);
            if (index >= 0 && index != last && regions_[static_cast<std::size_t>(index)].row == row) {
                rows_[static_cast<std::size_t>(row)].cells.push_back(
                    placed_[static_cast<std::size_t>(index)]);
            }
            last = index;
        }
    }
}

void CellGrid::reportLosses() const {
    if (overlaps_ > 0) {
        logWarning(std::to_string(overlaps_) +
                   " items overlap in the cells of the export and were moved or joined; the first reads \"" +
                   firstOverlap_ + "\"");
    }
    if (lostLines_ > 0) {
        logWarning(std::to_string(lostLines_) +
                   " lines, slanted or shorter than the cells beside them, have no place in the cells of the "
                   "export");
    }
}

}  // namespace qbsvrl6

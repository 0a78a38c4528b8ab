#include "qbsvrl6/sheet/grid/cell_sink.h"

#include <algorithm>
#include <utility>

namespace qbsvrl6 {

namespace {

// On a page, rows without height show no text.
void removeHiddenTexts(Band& band) {
    if (band.height > 0) return;
    band.form = 0;
    std::erase_if(band.items,
                  [](const Item& item) { return std::holds_alternative<TextItem>(item.content); });
}

}  // namespace

void CellSink::beginPage(const PageInfo& page) {
    grid_.beginPage(page.margins.top);
    openPage(page, pages_++ == 0);
}

void CellSink::band(Band&& band, Micrometres x, Micrometres y) {
    if (isPaged_) removeHiddenTexts(band);
    if (band.items.empty() && band.height == 0) return;
    if (!columnMoves_.empty() && band.inGrid) moveColumns(band);
    // Without pages, no bands are side by side, although many rows without height have the same position.
    if (!isPaged_) return writeBand(band, x, y);
    if (!strip_.takes(band, x, y)) writeStrip();
    strip_.add(std::move(band), x, y);
}

// Moves the items of moved columns to the position that these columns have in the cells.
void CellSink::moveColumns(Band& band) const {
    const auto count = static_cast<int>(columnMoves_.size());
    for (Item& item : band.items) {
        if (item.column < 0 || item.column >= count || item.lastColumn >= count) continue;
        const ColumnMove& first = columnMoves_[static_cast<std::size_t>(item.column)];
        const ColumnMove& last =
            columnMoves_[static_cast<std::size_t>(std::max(item.column, item.lastColumn))];
        const bool fills = item.box.x == first.x && item.box.right() == last.x + last.width;
        item.box.x += first.newX - first.x;
        // An item that fills its columns fills them in the cells as well; any other keeps its width on paper.
        if (fills) item.box.width = last.newX + last.newWidth - item.box.x;
        band.width = std::max(band.width, item.box.right());
    }
}

void CellSink::writeStrip() {
    if (strip_.isEmpty()) return;
    writeBand(strip_.band(), strip_.x(), strip_.y());
    strip_.clear();
}

void CellSink::writeBand(Band& band, Micrometres x, Micrometres y) {
    if (keepBand(band, x, y)) return;
    const std::span<const CellRow> rows = grid_.place(band, x, y);
    if (!rows.empty()) writeRows(band, rows);
}

void CellSink::endPage() {
    writeStrip();
    closePage();
}

void CellSink::finish(PendingTexts& pending) {
    grid_.reportLosses();
    close(pending);
}

}  // namespace qbsvrl6

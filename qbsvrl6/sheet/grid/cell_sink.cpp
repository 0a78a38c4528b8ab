#include "qbsvrl6/sheet/grid/cell_sink.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace qbsvrl6 {

void CellSink::beginPage(const PageInfo& page) {
    grid_.beginPage(page.margins.top);
    openPage(page, pages_++ == 0);
}

void CellSink::band(Band&& band, Micrometres x, Micrometres y) {
    const bool standsBeside = held_ && y == heldY_ && band.kind == held_->kind && x >= heldX_ + held_->width;
    if (!standsBeside) {
        writeHeld();
        held_ = std::move(band);
        heldX_ = x;
        heldY_ = y;
        return;
    }
    for (Item& item : band.items) item.box.x += x - heldX_;
    held_->items.insert(held_->items.end(), std::make_move_iterator(band.items.begin()),
                        std::make_move_iterator(band.items.end()));
    held_->width = x - heldX_ + band.width;
    held_->height = std::max(held_->height, band.height);
}

void CellSink::writeHeld() {
    if (!held_) return;
    if (keepBand(*held_, heldX_, heldY_)) {
        held_.reset();
        return;
    }
    const std::span<const CellRow> rows = grid_.place(*held_, heldX_, heldY_);
    if (!rows.empty()) writeRows(*held_, rows);
    held_.reset();
}

void CellSink::endPage() {
    writeHeld();
    closePage();
}

void CellSink::finish(PendingTexts& pending) {
    grid_.reportLosses();
    close(pending);
}

}  // namespace qbsvrl6

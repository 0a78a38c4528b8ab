#include "qbsvrl6/sheet/document/row_slots.h"

#include <algorithm>

namespace qbsvrl6 {

bool RowSlots::Slot::isEmpty() const {
    if (cell == nullptr || cell->item == nullptr || continues) return true;
    const Item& item = *cell->item;
    return std::holds_alternative<TextItem>(item.content) && textOf(item).empty() && !isPending(item);
}

const std::vector<RowSlots::Slot>& RowSlots::slotsOf(const CellRow& row) {
    slots_.clear();
    const auto columns = static_cast<int>(below_.size());
    std::size_t next = 0;
    for (int column = 0; column < columns;) {
        Below& below = below_[static_cast<std::size_t>(column)];
        if (below.rowsLeft > 0) {
            --below.rowsLeft;
            column += below.cell->columnSpan;
            slots_.push_back({below.cell, column, true});
        } else if (next < row.cells.size() && row.cells[next].column == column) {
            const Cell& cell = row.cells[next++];
            below = {&cell, cell.rowSpan - 1};
            column += cell.columnSpan;
            slots_.push_back({&cell, column, false});
        } else {
            const int end = next < row.cells.size() ? row.cells[next].column : columns;
            do ++column;
            while (column < end && below_[static_cast<std::size_t>(column)].rowsLeft == 0);
            slots_.push_back({nullptr, column, false});
        }
    }
    return slots_;
}

std::size_t RowSlots::hostOfOverlays(const std::vector<Slot>& slots) {
    const auto free =
        std::find_if(slots.begin(), slots.end(), [](const Slot& slot) { return slot.cell == nullptr; });
    return free == slots.end() ? 0 : static_cast<std::size_t>(free - slots.begin());
}

}  // namespace qbsvrl6

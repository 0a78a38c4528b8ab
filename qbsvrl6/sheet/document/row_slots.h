// The cells of a row as word processors need them: one for each position, without a gap.
#ifndef QBSVR_QBSVRL6_SHEET_DOCUMENT_ROW_SLOTS_H
#define QBSVR_QBSVRL6_SHEET_DOCUMENT_ROW_SLOTS_H

#include <cstddef>
#include <vector>

#include "qbsvrl6/sheet/grid/cell.h"

namespace qbsvrl6 {

class RowSlots {
public:
    struct Slot {
        const Cell* cell;  // null: free
        int columnEnd;
        bool continues;  // a cell of the row above

        // Whether it shows nothing, not even an empty text, which would make its row higher.
        bool isEmpty() const;
    };

    explicit RowSlots(int columns) : below_(static_cast<std::size_t>(columns)) {}

    // The rows of another band follow, into which no cell reaches.
    void beginBand() { below_.assign(below_.size(), {}); }
    // The cells of the next row, and those of the rows above it that reach into it. Valid until the next call.
    const std::vector<Slot>& slotsOf(const CellRow& row);

    // The index of the cell that anchors what overlays a row: a free cell if there is one, because its
    // paragraph is at the top of the row, otherwise the first cell.
    static std::size_t hostOfOverlays(const std::vector<Slot>& slots);

private:
    // A cell of an earlier row that spans the current one.
    struct Below {
        const Cell* cell = nullptr;
        int rowsLeft = 0;
    };

    std::vector<Below> below_;  // by column
    std::vector<Slot> slots_;
};

}  // namespace qbsvrl6

#endif

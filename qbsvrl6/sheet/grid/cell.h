// Cells and rows of cells, as the writers of cell documents receive them.
#ifndef QBSVR_QBSVRL6_SHEET_GRID_CELL_H
#define QBSVR_QBSVRL6_SHEET_GRID_CELL_H

#include <optional>
#include <string_view>
#include <vector>

#include "qbsvrl6/items/band.h"
#include "qbsvrl6/items/page_sink.h"

namespace qbsvrl6 {

// Whether its text is known only at the end of the report.
bool isPending(const Item& item);
// The text of an item, or the alternate text of a picture or drawing.
std::u16string_view textOf(const Item& item);

// Adds the text of an item to that of another one, in whose cell it is. After a pending text, it is shown when
// that is settled.
void joinText(Item& owner, const Item& item);
// Settles the item and what has been joined to it. Does nothing for an item that is not pending.
void settleCell(Item& item, PendingTexts& pending);

bool isPicture(const Item& item);     // a picture or drawing
bool isDecoration(const Item& item);  // a line or box

struct Cell {
    int column = 0;
    int columnSpan = 1;
    int rowSpan = 1;
    Item* item = nullptr;  // of the band; null: background and borders only
    std::optional<Color> background;
    Border border;
    Edges inset;  // from the cell's edges to the item's box inside
};

// A picture, a drawing or a slanted line on top of the cells.
struct Overlay {
    const Item* item = nullptr;
    int column = 0;
    Micrometres x = 0;  // from the column's left edge
    Micrometres y = 0;  // from the row's top
};

struct CellRow {
    Micrometres height = 0;
    bool keepsHeight = false;  // whatever its texts need
    Micrometres gap = 0;       // between the row and the one above it
    Micrometres tail = 0;      // of the band's last row: from there to the band's end
    std::vector<Cell> cells;   // the cells that begin in this row, by column
    std::vector<Overlay> overlays;

    void clear() {
        cells.clear();
        overlays.clear();
    }
};

// How closely the rows follow the paper.
enum class GridFit {
    Lines,    // items side by side form one row
    Exact,    // each top and bottom is the edge of a row, so that all items keep their position on paper;
              // a picture or drawing whose cells are taken overlays them
    Overlay,  // like Lines, but pictures, drawings and slanted lines overlay the cells
};

// Whether the item has cells. An empty text has none, unless its style is visible, or it belongs to the
// detail grid and has height.
bool takesCells(const Item& item, GridFit fit);

// Edges closer than this count as one.
inline constexpr Micrometres kEdgeTolerance = kMicrometresPerMillimetre;

// An item whose edge is this close to the edge of a cell fills the cell.
inline constexpr Micrometres kEdgeReach = 3 * kEdgeTolerance;

}  // namespace qbsvrl6

#endif

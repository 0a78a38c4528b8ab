// Items of a band as cells of one grid. Columns are fixed for the document; the tops of a band's items make
// its rows, so that a row is never empty; each item becomes a span of cells.
#ifndef QBSVR_QBSVRL6_SHEET_GRID_CELL_GRID_H
#define QBSVR_QBSVRL6_SHEET_GRID_CELL_GRID_H

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "qbsvrl6/items/band.h"

namespace qbsvrl6 {

// The text is known at the end of the report only.
bool isPending(const Item& item);
// What an item reads: its text, or what stands for a picture or drawing.
std::u16string_view textOf(const Item& item);

struct Cell {
    int column = 0;
    int columnSpan = 1;
    int rowSpan = 1;
    Item* item = nullptr;  // of the band; null: background and borders only
    std::optional<Color> background;
    Border border;
    Edges inset;  // from the cell's edges to the item's box inside
};

// A picture, a drawing or a slanted line that lies above the cells.
struct Floating {
    const Item* item = nullptr;
    int column = 0;
    Micrometres x = 0;  // from the column's left edge
    Micrometres y = 0;  // from the row's top
};

struct CellRow {
    Micrometres height = 0;
    Micrometres gap = 0;      // between the row and what stands above it
    Micrometres tail = 0;     // of the band's last row: from there to the band's end
    std::vector<Cell> cells;  // those that begin in this row, by column
    std::vector<Floating> floats;

    void clear() {
        cells.clear();
        floats.clear();
    }
};

// How the rows follow the paper.
enum class GridFit {
    Lines,  // what stands side by side is one row
    Exact,  // each top and bottom is the edge of a row, so that all stand where they do on paper; a picture
            // or drawing whose cells are taken lies above them
    Floating,  // like Lines; pictures, drawings and slanted lines lie above the cells and take none
};

class CellGrid {
public:
    // `cuts` are the columns' edges, ascending; fewer than two make one column as wide as `paperWidth`.
    CellGrid(std::vector<Micrometres> cuts, Micrometres paperWidth, GridFit fit);

    int columnCount() const { return static_cast<int>(cuts_.size()) - 1; }
    Micrometres columnWidth(int column) const {
        return cuts_[static_cast<std::size_t>(column) + 1] - cuts_[static_cast<std::size_t>(column)];
    }

    // The gap above the next row is measured from `top`.
    void beginPage(Micrometres top) { bottom_ = top; }

    // The rows of a band whose upper left corner is at x, y; good until the next call. Items whose cells are
    // taken move to free cells beside them; where there are none, their text joins that of the cell.
    std::span<const CellRow> place(Band& band, Micrometres x, Micrometres y);

    // Puts a warning into the log if anything could not stay where it was.
    void reportLosses() const;

private:
    struct Region {
        int column = 0, columnEnd = 0;
        int row = 0, rowEnd = 0;
    };
    // A row of the band under way.
    struct RowExtent {
        Micrometres top = 0, bottom = 0;
        // Of the items that begin here.
        Micrometres leastBottom = 0, leastHeight = 0;
    };
    // What makes a row.
    struct ItemExtent {
        Micrometres top = 0, bottom = 0;
        Micrometres left = 0, right = 0;
    };
    // Columns of the items of the last row band, which the next one mostly repeats.
    struct Pattern {
        bool complete = false;  // no cell of the row is free
        Micrometres x = 0;
        std::vector<Rect> boxes;         // of each item
        std::vector<Region> regions;     // of each item
        std::vector<std::size_t> order;  // the items from left to right
    };

    void placeAnew(Band& band);
    bool placeLikeBefore(Band& band);
    void rememberPattern(const Band& band);
    int cutNear(Micrometres x) const;
    int rowAt(Micrometres y) const;
    void setColumns(Region& region, const Rect& box) const;
    void setRows(Region& region, const Rect& box) const;
    void makeRows(const Band& band);
    void makeExactRows(const Band& band);
    int edgeAt(Micrometres y) const;
    bool isWhollyFree(const Region& region) const;
    void trimRows(Region& region) const;
    void closeGapsInBoxes(const Band& band);
    void addExtent(const Rect& box);
    void joinExtents();
    bool belongsToRow(std::span<const ItemExtent> row, const ItemExtent& next) const;
    void settleHeights(const Band& band, Micrometres y);
    void settleInsets();
    bool takesCells(const Item& item) const;
    void claim(Item& item);
    void reachOut();
    bool narrow(Region& region) const;
    bool findRoom(Region& region) const;
    bool isFree(int column, const Region& rows) const;
    void take(const Region& region, Item& item);
    void join(const Region& region, const Item& item);
    void addFloat(const Item& item);
    void fillBackground(const Band& band);
    void drawLine(const Item& item, const LineContent& line);
    void drawHorizontalLine(const Item& item, const BorderLine& line);
    void floatLine(const Item& item);
    void drawBox(const Rect& box, const Border& border, const std::optional<Color>& fill);
    void collectCells();
    void styleCell(Cell& cell, const Band& band) const;

    int& owner(int row, int column) {
        return owners_[static_cast<std::size_t>(row) * static_cast<std::size_t>(columnCount()) +
                       static_cast<std::size_t>(column)];
    }
    int owner(int row, int column) const {
        return owners_[static_cast<std::size_t>(row) * static_cast<std::size_t>(columnCount()) +
                       static_cast<std::size_t>(column)];
    }
    int rowCount() const { return static_cast<int>(extents_.size()); }
    Cell& cellAt(int row, int column);
    bool covers(const Rect& box, int row) const;

    std::vector<Micrometres> cuts_;
    GridFit fit_;
    std::int64_t bottom_ = 0;
    Pattern pattern_;

    // Of the band under way.
    Micrometres x_ = 0;
    std::vector<ItemExtent> itemExtents_;  // by top
    std::vector<RowExtent> extents_;
    std::vector<Micrometres> edges_;  // of exact rows
    bool hasFloats_ = false;
    std::vector<int> owners_;  // index in placed_ for each cell of rows x columns; -1: free
    std::vector<Cell> placed_;
    std::vector<Region> regions_;  // of placed_
    std::vector<CellRow> rows_;    // never shrinks; the first rowCount() are the result

    int overlaps_ = 0;
    int lostLines_ = 0;
    std::string firstOverlap_;
};

}  // namespace qbsvrl6

#endif

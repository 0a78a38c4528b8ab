// Rows of the grid as rows of RTF tables.
#ifndef QBSVR_QBSVRL6_SHEET_RTF_RTF_TABLE_H
#define QBSVR_QBSVRL6_SHEET_RTF_RTF_TABLE_H

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "qbsvrl6/sheet/rtf/rtf_styles.h"
#include "qbsvrl6/sheet/workbook/drawing_picture.h"

namespace qbsvrl6 {

class RtfTable {
public:
    // Writes the text of an item; may move the item.
    using TextWriter = std::function<void(std::string& out, Item& item)>;

    // `left` is the grid's left edge, from the page's margin. Overlays are anchored in a cell of their row, or
    // left out of the rows.
    RtfTable(const CellGrid& grid, Micrometres left, bool overlaysInCells);

    // The rows of one band. Rows that repeat are shown again on each page; they must be their table's first.
    void append(std::string& out, std::span<const CellRow> rows, bool repeats, const TextWriter& text);

    // What overlays the row, for a paragraph outside of tables: at its position on the page, from the page's
    // left margin and the row's top.
    void appendOverlays(std::string& out, const CellRow& row, Micrometres margin, Micrometres top);
    // A picture below the texts of its page, from the paper's corner.
    void appendBackdrop(std::string& out, const Item& item);

    const RtfStyles& styles() const { return entries_; }

private:
    // One cell of a row's definition.
    struct Slot {
        const Cell* cell;  // null: free
        int columnEnd;
        bool goesOn;  // from the row above
    };
    // A cell of a row above that reaches down to here.
    struct Below {
        const Cell* cell = nullptr;
        int rowsLeft = 0;
    };

    void findSlots(const CellRow& row);
    void appendDefinition(std::string& out, const CellRow& row, bool repeats);
    void appendCells(std::string& out, const CellRow& row, const TextWriter& text);
    std::size_t hostOfOverlays() const;
    int columnLeft(const Overlay& overlay) const;
    void appendOverlay(std::string& out, const Overlay& overlay, int cellLeft);
    void appendShape(std::string& out, const Item& item, int left, int top, const char* anchor);
    void appendContent(std::string& out, Item& item, const TextWriter& text);
    void appendPicture(std::string& out, const Item& item);
    void appendBytes(std::string& out, const Item& item, std::uint32_t number);

    int left_;
    bool overlaysInCells_;
    std::vector<int> edges_;  // right edge of each column
    RtfStyles entries_;
    PictureList pictures_;
    std::vector<Below> below_;  // by column
    std::vector<Slot> slots_;
};

}  // namespace qbsvrl6

#endif

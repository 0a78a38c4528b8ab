// Writes rows of the grid as rows of RTF tables.
#ifndef QBSVR_QBSVRL6_SHEET_RTF_RTF_TABLE_H
#define QBSVR_QBSVRL6_SHEET_RTF_RTF_TABLE_H

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "qbsvrl6/sheet/document/row_slots.h"
#include "qbsvrl6/sheet/rtf/rtf_styles.h"
#include "qbsvrl6/sheet/workbook/drawing_picture.h"

namespace qbsvrl6 {

class RtfTable {
public:
    // Writes the text of an item; may move the item.
    using TextWriter = std::function<void(std::string& out, Item& item)>;

    // `left` is the grid's left edge, from the page margin. With `overlaysInCells`, overlays are anchored in
    // a cell of their row; otherwise the rows do not include them.
    RtfTable(const CellGrid& grid, Micrometres left, bool overlaysInCells);

    // Appends the rows of one band. With `repeats`, they are shown again on each page; such rows must be the
    // first of their table.
    void append(std::string& out, std::span<const CellRow> rows, bool repeats, const TextWriter& text);

    // Appends the overlays of a row, for a paragraph outside of tables. Their positions on the page are
    // relative to its left margin and the row's top.
    void appendOverlays(std::string& out, const CellRow& row, Micrometres margin, Micrometres top);
    // Appends a picture that covers the page from the corner of the paper and is painted below the texts.
    void appendBackdrop(std::string& out, const Item& item);

    const RtfStyles& styles() const { return entries_; }

private:
    using Slot = RowSlots::Slot;

    void appendDefinition(std::string& out, const CellRow& row, const std::vector<Slot>& slots, bool repeats);
    void appendCells(std::string& out, const CellRow& row, const std::vector<Slot>& slots,
                     const TextWriter& text);
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
    RowSlots slots_;
};

}  // namespace qbsvrl6

#endif

// Writes rows of the grid as rows of tables of a DOCX document.
#ifndef QBSVR_QBSVRL6_SHEET_DOCX_DOCX_TABLE_H
#define QBSVR_QBSVRL6_SHEET_DOCX_DOCX_TABLE_H

#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "qbsvrl6/sheet/document/row_slots.h"
#include "qbsvrl6/sheet/docx/docx_styles.h"
#include "qbsvrl6/sheet/grid/cell_grid.h"
#include "qbsvrl6/sheet/package/package_xml.h"
#include "qbsvrl6/sheet/workbook/drawing_picture.h"

namespace qbsvrl6 {

// The addresses to which one part of the package links.
class DocxLinks {
public:
    // The id of the relation.
    const std::string& idOf(const std::u16string& address);
    // With the pictures of the document.
    std::string relations(const PictureList& pictures) const;
    PackageRelations& others() { return others_; }

private:
    std::map<std::u16string, std::string> ids_;
    PackageRelations others_;
};

class DocxTable {
public:
    // Writes the paragraphs of a text; may move the item.
    using TextWriter = std::function<void(std::string& out, Item& item, const DocxTextForm& form,
                                          const DocxTextFrame& frame)>;

    // `left` is the grid's left edge, from the page margin. With `overlaysInCells`, overlays are anchored in a
    // cell of their row; otherwise the rows do not include them.
    DocxTable(const ReportDefinition& report, const CellGrid& grid, Micrometres left, bool overlaysInCells);

    // Appends the rows of one band to the open table, or opens one. Rows with `repeats` are the first of their
    // table and are shown again on each page. `bookmark`: of the first text; empty: none.
    void append(std::string& out, std::span<const CellRow> rows, bool repeats, DocxLinks& links,
                const TextWriter& text, const Band* marked = nullptr);
    // Closes the open table, if any. Another paragraph must follow it.
    void end(std::string& out);

    // Appends the overlays of a row as content of a paragraph. Their positions on the page are relative to its
    // left margin and the row's top.
    void appendOverlays(std::string& out, const CellRow& row, Micrometres margin, Micrometres top);
    // Appends a picture that covers the page from the corner of the paper and is painted below the texts.
    void appendBackdrop(std::string& out, const Item& item);

    const DocxStyles& styles() const { return styles_; }
    const PictureList& pictures() const { return pictures_; }

private:
    using Slot = RowSlots::Slot;
    struct Anchor {
        std::string_view horizontal, vertical;
        Micrometres x = 0, y = 0;
        bool isBelow = false;  // the texts
        bool inCell = false;
    };

    void appendRow(std::string& out, const CellRow& row, bool repeats, DocxLinks& links,
                   const TextWriter& text);
    void appendCell(std::string& out, const Slot& slot, int column, std::string_view overlays,
                    DocxLinks& links, const TextWriter& text);
    void appendContent(std::string& out, const Cell& cell, std::string_view overlays, DocxLinks& links,
                       const TextWriter& text);
    void appendInline(std::string& out, const Item& item);
    void appendAnchored(std::string& out, const Item& item, const Anchor& anchor);
    void appendGraphic(std::string& out, const Item& item, std::uint32_t number);
    std::string takeBookmark();
    Micrometres columnLeft(int column) const {
        return column == 0 ? left_ : edges_[static_cast<std::size_t>(column) - 1];
    }

    Micrometres left_;
    bool overlaysInCells_;
    std::vector<Micrometres> edges_;  // right edge of each column
    std::string start_;               // of a table
    bool isOpen_ = false;
    RowSlots slots_;
    DocxStyles styles_;
    PictureList pictures_;
    int drawings_ = 0;
    const Band* marked_ = nullptr;  // its bookmark is not written yet
    int bookmarks_ = 0;
    std::map<std::string, int> bookmarkUses_;
};

}  // namespace qbsvrl6

#endif

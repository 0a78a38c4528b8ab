// One table of an ODS spreadsheet, written row by row.
#ifndef QBSVR_QBSVRL6_SHEET_ODS_ODS_SHEET_H
#define QBSVR_QBSVRL6_SHEET_ODS_ODS_SHEET_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "qbsvrl6/sheet/ods/ods_styles.h"
#include "qbsvrl6/sheet/workbook/sheet_value.h"

namespace qbsvrl6 {

// Appends a text as paragraphs, with an address if it is a link.
void appendOdsText(std::string& out, std::u16string_view text, std::u16string_view link);

// Appends a formula as an attribute of a cell.
void appendOdsFormula(std::string& out, const SheetFormula& formula);

// Rows and columns count from 0. The row under construction is kept; complete rows are passed on.
class OdsSheet {
public:
    static constexpr std::int64_t kMaxRows = 1'048'576;
    static constexpr int kMaxColumns = 16'384;

    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    explicit OdsSheet(OdsStyles& styles) : styles_(styles) {}

    void beginRow(Micrometres height) { height_ = height; }
    // A cell that a span covers holds no value.
    void addBlank(int column, int style);
    void addValue(int column, int style, const SheetValue& value, OdsValueKind kind);
    void addPending(int column, int style, std::size_t pending, std::u16string link);
    // Applies to the next cell, as does link().
    void merge(int column, int columnSpan, int rowSpan);
    void link(std::u16string_view address) { link_ = address; }
    // Appends an object on top of the cells, anchored in the cell of its column.
    void addObject(int column, std::string_view object);
    void breakPage() { breaksPage_ = rows_ > 0; }

    // A part of a row: text, and what is known later after it, if any: a pending text or a formula.
    struct RowPart {
        std::string text;
        std::size_t pending = kNone;
        std::size_t formula = kNone;
        std::u16string link;
    };
    // Completes the row.
    std::vector<RowPart> endRow();

    std::int64_t rowCount() const { return rows_; }

    std::int64_t frozenRows = 0;

private:
    struct Cell {
        int column = 0;
        std::string start;  // its tag without the end
        std::size_t formula = kNone;
        std::string value;  // further attributes
        std::string content;
        std::size_t pending = kNone;
        std::u16string link;
        bool isCovered = false;
    };

    Cell& addCell(int column, int style);
    bool isCovered(int column) const;
    static void appendRest(std::vector<RowPart>& parts, Cell& cell);

    OdsStyles& styles_;
    Micrometres height_ = 0;
    bool breaksPage_ = false;
    std::int64_t rows_ = 0;                // complete ones
    std::vector<Cell> cells_;              // of the row
    std::vector<std::int64_t> coveredTo_;  // of each column: the first row that no span from above covers
    std::string spans_;                    // attributes of the next cell
    int spanned_ = -1;                     // the column of a span that begins in the row
    std::u16string link_;
};

}  // namespace qbsvrl6

#endif

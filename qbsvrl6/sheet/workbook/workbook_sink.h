// The shared part of both workbook sinks: writes rows of the grid as rows of sheets.
#ifndef QBSVR_QBSVRL6_SHEET_WORKBOOK_WORKBOOK_SINK_H
#define QBSVR_QBSVRL6_SHEET_WORKBOOK_WORKBOOK_SINK_H

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/sheet/grid/cell_sink.h"
#include "qbsvrl6/sheet/grid/cell_style.h"
#include "qbsvrl6/sheet/workbook/column_totals.h"
#include "qbsvrl6/sheet/workbook/print_setup.h"
#include "qbsvrl6/sheet/workbook/sheet_value.h"

namespace qbsvrl6 {

struct WorkbookLimits {
    std::int64_t rows;
    int columns;
    std::size_t units;  // of a text
    int styles;
};

// The rows of the grid's titles, from 0; none if last < first.
struct TitleRows {
    std::int64_t first = 0;
    std::int64_t last = -1;
};

// What makes a sheet easier to work in.
struct SheetFeatures {
    std::optional<SheetArea> filter;     // from the titles to the last row
    std::optional<SheetArea> printArea;  // none: all that the sheet has
    int frozenColumns = 0;
    std::vector<int> columnOutlines;  // of the first columns
    int rowOutlines = 0;              // the greatest of the sheet
    bool hasSummariesAbove = false, hasSummariesAtLeft = false;
};

class WorkbookSink : public CellSink {
protected:
    WorkbookSink(const SheetOptions& options, const WorkbookLimits& limits);

    const SheetOptions& options() const { return options_; }
    const StyleTable& styles() const { return styles_; }
    // Of each sheet.
    std::vector<TitleRows> titles() const;
    // Legal names of all sheets, each different from the others and from a legal name that is reserved.
    std::vector<std::u16string> sheetNames(std::u16string_view reserved = {}) const;
    std::vector<Micrometres> columnWidths() const;
    // The paper of a sheet is that of the printed pages that its rows are on, if all are on the same; otherwise
    // that of the report.
    PrintSetup printSetup(std::size_t sheet) const;
    SheetFeatures featuresOf(std::size_t sheet) const;
    // Of the cells so far. What is open at the end of its sheet stays a value.
    const ColumnTotals& totals() const { return totals_; }
    // Logs what the format could not hold.
    void reportLosses() const;

private:
    // Functions that write the workbook. All except beginSheet apply to its last sheet. Cells of a row are
    // added from left to right.
    virtual void beginSheet() = 0;
    virtual std::int64_t rowCount() const = 0;
    virtual void beginRow(Micrometres height, int outline) = 0;
    virtual void addBlank(int column, int style) = 0;
    virtual void addValue(int column, int style, const SheetValue& value) = 0;
    virtual void addPending(int column, int style, Item&& item) = 0;
    virtual void endRow() = 0;
    virtual void merge(int column, int columnSpan, int rowSpan) = 0;
    // The link of a whole span. Returns false if the sheet has no space for more.
    virtual bool link(int column, int columnSpan, int rowSpan, std::u16string_view address) = 0;
    // A comment of a cell of the current row. Returns false if the sheet has no space for more.
    virtual bool comment(int /*column*/, std::u16string_view /*text*/) { return false; }
    virtual void addOverlay(const Overlay& overlay) = 0;
    virtual void breakPage() = 0;
    virtual void freezeAbove(std::int64_t row) = 0;

    // A cell below the first row of its span.
    struct Below {
        int column, style, rowsLeft;
    };

    void openPage(const PageInfo& page, bool isFirst) final;
    bool keepBand(Band& band, Micrometres x, Micrometres y) final;
    void writeRows(const Band& band, std::span<const CellRow> rows) final;
    void notePaper();
    void noteTitle(std::int64_t rows);
    void noteGrid(const Band& band, std::span<const CellRow> rows);
    void nameSheet(std::u16string_view name);
    void addSheet(std::u16string name);
    struct Growth {
        Micrometres above = 0, below = 0;
    };
    Growth growthOf(std::span<const CellRow> rows, std::size_t index, Micrometres most) const;
    void writeRow(const CellRow& row, const Growth& growth, int outline, const Band& band);
    void writeCell(const Cell& cell, const Growth& growth, const Band& band);
    void writeLink(const Cell& cell, int columnSpan, std::u16string_view address);
    void writeBelowUpTo(int column);
    void keepBelow();
    void padBelow(Micrometres height);

    SheetOptions options_;
    WorkbookLimits limits_;
    StyleTable styles_;
    ColumnTotals totals_;  // of the last sheet; only used if totals are formulas
    struct Sheet {
        std::u16string name;  // empty: the report's title
        TitleRows titles;
        bool continues = false;                    // with the rows of the sheet before it
        SheetArea filtered{0, -1, INT32_MAX, -1};  // the columns of the titles, and the last row
        std::int64_t rows = 0;                     // of a sheet that is complete
        int rowOutlines = 0;
        std::optional<int> paperKind;   // of its rows, as PageInfo has it; none: it has no rows
        std::optional<PageSetup> page;  // none: that of the report
    };
    std::vector<Sheet> sheets_ = std::vector<Sheet>(1);
    int paperKind_ = 0;  // of the current page
    PageSetup page_;
    PageNumberCode header_;
    PageNumberCode footer_;
    bool startsPage_ = true;    // the next row
    Micrometres taken_ = 0;     // the part of the next row's gap that the last row has used
    Micrometres height_ = 0;    // of the rows so far, as long as they might be frozen
    std::vector<Below> below_;  // by column
    std::size_t nextBelow_ = 0;
    std::vector<Below> newBelow_;
    int frozenColumns_ = 0;
    std::vector<int> columnOutlines_;
    int cutTexts_ = 0;
    int lostLinks_ = 0;
    int lostCells_ = 0;
    int lostSheets_ = 0;
};

}  // namespace qbsvrl6

#endif

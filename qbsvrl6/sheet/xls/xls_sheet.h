// One sheet of an XLS workbook: the records of its part of the stream.
#ifndef QBSVR_QBSVRL6_SHEET_XLS_XLS_SHEET_H
#define QBSVR_QBSVRL6_SHEET_XLS_XLS_SHEET_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "qbsvrl6/sheet/grid/cell_grid.h"
#include "qbsvrl6/sheet/workbook/print_setup.h"
#include "qbsvrl6/sheet/workbook/sheet_value.h"
#include "qbsvrl6/sheet/workbook/workbook_sink.h"
#include "qbsvrl6/sheet/xls/escher.h"

namespace qbsvrl6 {

// A picture, given by its number in the workbook's list (from 1), or a slanted line, with its position.
struct XlsShape {
    std::uint32_t picture = 0;
    PictureCut cut;
    std::optional<LineContent> line;
    int row = 0, column = 0;
    Micrometres x = 0, y = 0;  // from the cell's upper left corner
    Micrometres width = 0, height = 0;
};

// Rows and columns count from 0.
class XlsSheet {
public:
    static constexpr int kMaxRows = 65'536;
    static constexpr int kMaxColumns = 256;
    static constexpr std::size_t kMaxUnits = 32'767;  // of a text

    void beginRow(Micrometres height, int outline);
    void addBlank(int column, std::uint16_t style);
    void addNumber(int column, std::uint16_t style, double number);
    void addFormula(int column, std::uint16_t style, double number, const SheetFormula& formula);
    // A number that may be a formula, which is known when the records are written.
    void addLaterFormula(int column, std::uint16_t style, double number, std::size_t formula);
    void addBoolean(int column, std::uint16_t style, bool value);
    void addText(int column, std::uint16_t style, std::uint32_t text);
    void endRow() { ++rows_; }

    int rowCount() const { return rows_; }

    // These apply to the current row.
    void merge(int column, int columnSpan, int rowSpan);
    void link(int column, int columnSpan, int rowSpan, std::u16string_view address);
    void breakPage();
    void add(const XlsShape& shape) { shapes_.push_back(shape); }

    void freezeAbove(int row) { frozenRows_ = row; }

    std::size_t shapeCount() const { return shapes_.size(); }
    // Returns all records of the sheet, and releases its cells.
    std::string records(const PrintSetup& print, const SheetFeatures& features, const EscherSheet& drawing,
                        const ColumnTotals& totals);

private:
    void writeHead(std::string& out, const PrintSetup& print, const SheetFeatures& features) const;
    void writePageSetup(std::string& out, const PrintSetup& print) const;
    void writeTail(std::string& out, const PrintSetup& print, const SheetFeatures& features,
                   const EscherSheet& drawing) const;
    void writeDrawing(std::string& out, const PrintSetup& print, const EscherSheet& drawing) const;
    std::string anchor(const XlsShape& shape, const std::vector<Micrometres>& columnWidths) const;

    struct Range {
        std::uint16_t firstRow, lastRow, firstColumn, lastColumn;
    };
    Range rangeOf(int column, int columnSpan, int rowSpan) const;
    struct CellPlace {
        std::uint16_t row, column, style;
    };
    CellPlace place(int column, std::uint16_t style);
    static void putNumber(std::string& out, const CellPlace& cell, double number);
    static void putFormula(std::string& out, const CellPlace& cell, double number,
                           const SheetFormula& formula);
    // A cell whose record is not written yet.
    struct Gap {
        std::size_t at;  // in the cells
        CellPlace cell;
        double number;
        std::size_t formula;
    };

    std::string cells_;
    std::vector<Gap> gaps_;
    std::string links_;
    int rows_ = 0;
    int columns_ = 0;
    int frozenRows_ = 0;
    std::vector<Micrometres> rowHeights_;
    std::vector<Range> merges_;
    std::vector<std::uint16_t> breaks_;
    std::vector<XlsShape> shapes_;
};

}  // namespace qbsvrl6

#endif

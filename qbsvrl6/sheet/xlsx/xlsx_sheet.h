// One worksheet of a workbook, written row by row.
#ifndef QBSVR_QBSVRL6_SHEET_XLSX_XLSX_SHEET_H
#define QBSVR_QBSVRL6_SHEET_XLSX_XLSX_SHEET_H

#include <cstdint>
#include <string>
#include <vector>

#include "qbsvrl6/sheet/package/zip.h"
#include "qbsvrl6/sheet/workbook/print_setup.h"
#include "qbsvrl6/sheet/workbook/sheet_value.h"
#include "qbsvrl6/sheet/workbook/workbook_sink.h"
#include "qbsvrl6/sheet/xlsx/xlsx_comments.h"
#include "qbsvrl6/sheet/xlsx/xlsx_drawing.h"
#include "qbsvrl6/sheet/xlsx/xlsx_xml.h"

namespace qbsvrl6 {

// Rows and columns count from 0. Rows are compressed as they are written, unless formulas of cells above them
// are not known yet; only merged cells, links, page breaks and overlays are held uncompressed.
class XlsxSheet {
public:
    static constexpr std::int64_t kMaxRows = 1'048'576;
    static constexpr int kMaxColumns = 16'384;
    static constexpr std::size_t kMaxUnits = 32'767;  // of a text
    static constexpr std::size_t kMaxLinks = 65'530;

    XlsxSheet();
    XlsxSheet(const XlsxSheet&) = delete;
    XlsxSheet& operator=(const XlsxSheet&) = delete;

    // The cells of a row are added between beginRow and endRow, from left to right.
    void beginRow(Micrometres height, int outline);
    void addBlank(int column, int style);
    void addValue(int column, int style, const SheetValue& value);
    void addShared(int column, int style, std::size_t sharedText);
    void endRow();

    std::int64_t rowCount() const { return rows_; }

    // Writes the formulas that were not known with their cells. All are known now.
    void fillGaps(const ColumnTotals& totals);

    // Applies to the current row.
    void merge(int column, int columnSpan, int rowSpan);
    // The link of a whole span. Returns false if the sheet can't hold more links.
    bool link(int column, int columnSpan, int rowSpan, std::u16string_view address);
    // A comment of the cell. Returns false if the sheet can't hold more comments.
    bool comment(int column, std::u16string_view text) { return comments_.add(column, rows_, text); }
    bool hasComments() const { return !comments_.isEmpty(); }
    void breakPage();
    void add(const Overlay& overlay, std::string_view relation) { drawing_.add(overlay, rows_, relation); }
    // A native chart; `number` is that of its part.
    void addChart(const Overlay& overlay, std::size_t number);

    void freezeAbove(std::int64_t row) { frozenRows_ = row; }

    // Writes the sheet, its relations and its drawing to the archive. `number` is the sheet's, from 1;
    // `pictures` are the relations of the drawing.
    void writeTo(ZipWriter& zip, int number, const PrintSetup& print, const SheetFeatures& features,
                 const PackageRelations& pictures);
    bool hasDrawing() const { return !drawing_.isEmpty(); }

private:
    std::string& openCell(int column, int style);
    // "A1", or "A1:B2", from the current row down.
    std::string rangeName(int column, int columnSpan, int rowSpan) const;
    void flush();
    std::string head(const PrintSetup& print, const SheetFeatures& features) const;
    void writeProperties(XmlWriter& xml, const PrintSetup& print, const SheetFeatures& features) const;
    void writeView(XmlWriter& xml, const PrintSetup& print, const SheetFeatures& features) const;
    static void writeColumns(XmlWriter& xml, const PrintSetup& print, const SheetFeatures& features);
    void writeTail(const PrintSetup& print, const SheetFeatures& features);
    void writePageSetup(const PrintSetup& print);

    // A formula that is not known yet.
    struct Gap {
        std::uint64_t place;
        std::size_t formula;
    };

    DeflateStream body_;
    Spool held_;  // the rows from the first gap on
    std::vector<Gap> gaps_;
    std::string buffer_;  // of the rows that are not compressed yet, after those
    XmlWriter xml_{buffer_};
    std::int64_t rows_ = 0;  // complete ones
    int nextColumn_ = 0;     // of the current row
    int columns_ = 0;
    std::int64_t frozenRows_ = 0;
    std::string merges_;
    std::size_t mergeCount_ = 0;
    std::string links_;
    std::size_t linkCount_ = 0;
    PackageRelations relations_;
    std::vector<std::int64_t> breaks_;
    XlsxDrawing drawing_;
    std::vector<std::size_t> charts_;  // their numbers
    XlsxComments comments_;
};

}  // namespace qbsvrl6

#endif

// How a sheet is printed: its columns, its paper, and the header and footer of each printed page.
#ifndef QBSVR_QBSVRL6_SHEET_WORKBOOK_PRINT_SETUP_H
#define QBSVR_QBSVRL6_SHEET_WORKBOOK_PRINT_SETUP_H

#include <array>
#include <string>
#include <vector>

#include "qbsvrl6/items/band.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// The page numbers of a page header or footer, in the code of spreadsheets: "&L&P / &N".
class PageNumberCode {
public:
    // Moves the texts with page numbers out of a band, `page` wide: as cells they would count one page. They
    // stay in the band if the code has no room for them.
    void takeFrom(Band& band, Micrometres page);

    // Empty: none.
    const std::u16string& text() const { return text_; }
    // Of the band.
    Micrometres height() const { return height_; }

private:
    std::u16string text_;
    Micrometres height_ = 0;
};

struct PrintSetup {
    std::vector<Micrometres> columnWidths;
    PageSetup page;
    bool paged = false;         // the cells are printed pages
    bool isFirstSheet = false;  // of the workbook
    PageNumberCode header, footer;

    // Of the cells: header and footer are printed beyond them.
    Edges margins() const;
    Micrometres headerMargin() const;
    Micrometres footerMargin() const;

    // The number of the paper in a workbook; 0: none of the common ones.
    int paperNumber() const;

    // Percent by which the columns are printed. Printed pages have manual breaks, which apply only if the
    // sheet isn't fitted to pages; the percentage is a little lower than what fits, since printers measure text
    // differently.
    int scale() const;

    // Widths of the columns. Edges are rounded, not widths, so that rounding doesn't add up.
    std::vector<int> columnPixels() const;
};

// A digit of Arial 10, a workbook's default font, is this wide.
inline constexpr int kPixelsPerDigit = 7;

}  // namespace qbsvrl6

#endif

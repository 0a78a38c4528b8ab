// How a sheet is printed: its columns, its paper, and the header and footer of each printed page.
#ifndef QBSVR_QBSVRL6_SHEET_WORKBOOK_PRINT_SETUP_H
#define QBSVR_QBSVRL6_SHEET_WORKBOOK_PRINT_SETUP_H

#include <array>
#include <string>
#include <vector>

#include "qbsvrl6/items/band.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// The page numbers of a page header or footer in the syntax of spreadsheets: "&L&P / &N".
class PageNumberCode {
public:
    // Moves the texts with page numbers out of a band; `page` is the width between the margins. As cells,
    // they would show page 1 of 1. They remain in the band if the code would be too long.
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

    // The margins of the cells; the header and footer are printed in them.
    Edges margins() const;
    Micrometres headerMargin() const;
    Micrometres footerMargin() const;

    // The number of the paper size in workbooks; 0 for uncommon sizes.
    int paperNumber() const;

    // The print scale in percent. Printed pages have manual breaks, which apply only if the sheet isn't
    // fitted to pages. The scale is slightly smaller than necessary, because printers measure text
    // differently.
    int scale() const;

    // The widths of the columns in pixels. Rounds edges rather than widths, so that rounding errors don't add
    // up.
    std::vector<int> columnPixels() const;
};

// The width of a digit in Arial 10, the default font of workbooks.
inline constexpr int kPixelsPerDigit = 7;

}  // namespace qbsvrl6

#endif

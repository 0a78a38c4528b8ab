// Page headers and footers as a word processor repeats them: the same on each page but for the page number.
#ifndef QBSVR_QBSVRL6_SHEET_RTF_PAGE_HEADERS_H
#define QBSVR_QBSVRL6_SHEET_RTF_PAGE_HEADERS_H

#include <optional>
#include <vector>

#include "qbsvrl6/items/band.h"

namespace qbsvrl6 {

struct PlacedBand {
    Band band;
    Micrometres x = 0;
    Micrometres y = 0;
};

// The header and footer of one page, all of their texts settled.
struct PageHeaderFooter {
    std::vector<PlacedBand> header;
    std::vector<PlacedBand> footer;
};

// Whether `later`, which is `pages` pages after `first`, shows the same once page numbers are counted on.
bool isContinued(const PageHeaderFooter& first, const PageHeaderFooter& later, int pages);

// The page number that the header or footer shows.
std::optional<int> shownPageNumber(const PageHeaderFooter& page);

}  // namespace qbsvrl6

#endif

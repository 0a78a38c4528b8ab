// Page headers and footers that a word processor can repeat: the same on each page except for the page
// number.
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

// The header and footer of one page, with all texts settled, and its paper.
struct PageHeaderFooter {
    int paperKind = 0;  // as PageInfo has it
    Size paper;
    Edges margins;
    std::vector<PlacedBand> header;
    std::vector<PlacedBand> footer;
};

// Whether `later`, which is `pages` pages after `first`, differs from it only in its page number, which must
// have advanced by as many.
bool isContinued(const PageHeaderFooter& first, const PageHeaderFooter& later, int pages);

// The page number that the header or footer shows.
std::optional<int> shownPageNumber(const PageHeaderFooter& page);

}  // namespace qbsvrl6

#endif

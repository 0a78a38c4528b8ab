// Page headers and footers that a word processor can repeat: the same on each page except for the page
// number.
#ifndef QBSVR_QBSVRL6_SHEET_DOCUMENT_PAGE_HEADERS_H
#define QBSVR_QBSVRL6_SHEET_DOCUMENT_PAGE_HEADERS_H

#include <memory>
#include <optional>
#include <vector>

#include "qbsvrl6/items/page_sink.h"

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
    std::shared_ptr<const Picture> background = {};  // null: that of the document
    std::vector<PlacedBand> header;
    std::vector<PlacedBand> footer;
    // Whether it has no rows. A page break at its top would be ignored: it needs a paragraph.
    bool isBlank = true;
};

// Lays out the pending texts of the header and footer.
void settle(PageHeaderFooter& page, PendingTexts& pending);

// The first page of each section: as many pages as possible whose headers and footers continue each other.
std::vector<std::size_t> sectionStarts(const std::vector<PageHeaderFooter>& pages);

// The fields that a word processor counts. The page count of a group stays text: the word processor counts
// the `pages` of the document.
std::vector<PageField> countedFields(const TextItem& text, std::size_t pages);

// Whether `later`, which is `pages` pages after `first`, differs from it only in its page number, which must
// have advanced by as many.
bool isContinued(const PageHeaderFooter& first, const PageHeaderFooter& later, int pages);

// The page number that the header or footer shows.
std::optional<int> shownPageNumber(const PageHeaderFooter& page);

}  // namespace qbsvrl6

#endif

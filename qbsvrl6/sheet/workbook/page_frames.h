// Page headers and footers of a printed report, told apart into what is the same on each page and the numbers
// of pages in it.
#ifndef QBSVR_QBSVRL6_SHEET_WORKBOOK_PAGE_FRAMES_H
#define QBSVR_QBSVRL6_SHEET_WORKBOOK_PAGE_FRAMES_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/items/items.h"

namespace qbsvrl6 {

struct PlacedBand {
    Band band;
    std::vector<bool> late;  // of each item: whether it was settled at the end, so that it may hold the count
    Micrometres x = 0;
    Micrometres y = 0;
};

// The header and footer of one page.
struct PageFrame {
    std::vector<PlacedBand> header;
    std::vector<PlacedBand> footer;
};

// A stretch of a text that is a page's number or the count of pages.
struct NumberField {
    enum class Kind { Page, PageCount } kind = Kind::Page;
    std::size_t start = 0;
    std::size_t length = 0;
};

// The numbers in the text of page `page` (from 1) that stand for that page and for `pageCount`, judged by the
// text in the same place of another page: a number that differs there, both being their page's own, is the
// page's, and the last one that is `pageCount` on both is the count. Null where the texts differ elsewhere
// too.
std::optional<std::vector<NumberField>> findNumbers(std::u16string_view text, int page,
                                                    std::u16string_view other, int otherPage, int pageCount);

// Whether two settled frames, of these pages, are one but for their numbers of pages.
bool sameFrame(const PageFrame& a, int pageA, const PageFrame& b, int pageB);

}  // namespace qbsvrl6

#endif

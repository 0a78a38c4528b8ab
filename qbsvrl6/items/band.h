// Bands: the sections, titles and rows of a laid-out report, from the top of a page to its bottom.
#ifndef QBSVR_QBSVRL6_ITEMS_BAND_H
#define QBSVR_QBSVRL6_ITEMS_BAND_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "qbsvrl6/items/item.h"
#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

enum class BandKind {
    PageHeader,
    ReportHeader,
    GridTitle,
    GroupHeader,  // also of the grid
    Row,
    BlankRow,     // fills the page after the last row
    GroupFooter,  // also of the grid
    ReportFooter,
    PageFooter,
};

// One section or row. Everything in it is final, except texts that are pending. Bands of one page do not
// overlap, except in columns of detail, which are side by side.
struct Band {
    BandKind kind = BandKind::Row;
    bool inGrid = false;    // part of the detail grid: title, row, group header or group footer
    bool repeated = false;  // a title or group header that is repeated on a later page
    int groupLevel = 0;     // of a group's header or footer: 0 is the outermost group; -1: of the grid's
    int outline = 0;        // the groups that hide it when they are folded, in a workbook
    int columnGroup = 0;    // of the columns that it shows, if the grid continues on further pages
    // Of a row: rows of the same form and column group have the same items at the same places, apart from
    // their height. 0: it has none.
    std::uint32_t form = 0;
    // The number of its entry in the DocumentStructure; 0: it has none.
    std::uint32_t structure = 0;

    // The band is no higher than this whatever its texts need: the labels of a sheet lie where they are printed.
    bool keepsHeight = false;

    std::u16string bookmark;  // of a group's first header: the value of the group; empty: none
    std::u16string sheet;     // of a workbook, that the band begins; empty: none
    std::optional<Color> background;

    Micrometres width = 0;    // items may extend beyond it, up to the edge of the paper
    Micrometres height = 0;   // all items are above this edge
    std::vector<Item> items;  // later ones are painted on top
};

}  // namespace qbsvrl6

#endif

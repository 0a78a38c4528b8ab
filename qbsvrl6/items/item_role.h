// What an item is in the structure of the document.
#ifndef QBSVR_QBSVRL6_ITEMS_ITEM_ROLE_H
#define QBSVR_QBSVRL6_ITEMS_ITEM_ROLE_H

#include <cstdint>

namespace qbsvrl6 {

// Set only if the sink asks for the structure (DocumentStructure).
struct ItemRole {
    std::uint32_t band = 0;   // the number of its band's entry; 0: it is decoration
    std::uint32_t index = 0;  // of its control in the section, or of its column in the row
    // The columns of the detail grid that a cell, or a control in a section of a group, covers; -1: none.
    int column = -1;
    int lastColumn = -1;
    std::uint32_t lastBand = 0;  // the entry of the last row that a merged cell covers; 0: it is in one row
};

}  // namespace qbsvrl6

#endif

// What the sink of an export needs from layout.
#ifndef QBSVR_QBSVRL6_LAYOUT_LAYOUT_OPTIONS_H
#define QBSVR_QBSVRL6_LAYOUT_LAYOUT_OPTIONS_H

#include <cstddef>

#include "qbsvrl6/items/structure.h"
#include "qbsvrl6/layout/drawing_source.h"

namespace qbsvrl6 {

// The links that a format supports.
struct LinkRules {
    std::size_t maxUnits = 65'536;  // of an address, in UTF-16; 0: the format has no links
    bool ascii = false;             // other characters are written as their UTF-8 bytes, "%E4%B8%AD"
};

struct LayoutOptions {
    bool paged = true;  // false: one continuous page of unbounded height, in logical order
    bool pageHeadersAndFooters = true;
    bool onlyDetailGrid = false;
    bool measureText = true;   // false: texts have no lines and nothing grows; for sinks that use texts alone
    bool drawText = true;      // false: texts on one line have no lines; for sinks that draw none
    bool hidesText = true;     // false: the format shows whole texts, however small their boxes
    bool forWorkbook = false;  // numbers say what they are to the totals, if the report asks for formulas
    LinkRules links;
    DrawingSource* drawings = nullptr;  // null: barcodes and charts remain empty boxes
    // Receives the structure of the document. Bands are then in the order in which they are read: those of
    // columns of detail are not from the top down. Null: it is not needed.
    DocumentStructure* structure = nullptr;
};

}  // namespace qbsvrl6

#endif

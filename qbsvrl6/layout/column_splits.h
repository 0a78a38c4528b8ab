// Divides columns of a table where texts of one row would share a cell.
#ifndef QBSVR_QBSVRL6_LAYOUT_COLUMN_SPLITS_H
#define QBSVR_QBSVRL6_LAYOUT_COLUMN_SPLITS_H

#include <vector>

#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

// The box of a control that has a cell.
struct CellBox {
    Micrometres left = 0, right = 0;
    Micrometres top = 0, bottom = 0;
};

// Adds column edges for the boxes of each section that have no column of their own next to the boxes on their
// left. `edges` is ascending and stays so. Boxes share a row if they overlap vertically for more than half of
// their height. No edge is added within `tolerance` of another one.
void splitColumns(std::vector<Micrometres>& edges, std::vector<std::vector<CellBox>> sections,
                  Micrometres tolerance);

}  // namespace qbsvrl6

#endif

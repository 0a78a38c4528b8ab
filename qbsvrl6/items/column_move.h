// Columns of the detail grid whose position in cell documents differs from that on paper.
#ifndef QBSVR_QBSVRL6_ITEMS_COLUMN_MOVE_H
#define QBSVR_QBSVRL6_ITEMS_COLUMN_MOVE_H

#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

// One column, from its position on paper to its position in the cells: micrometres from the grid's left edge.
struct ColumnMove {
    Micrometres x = 0, width = 0;
    Micrometres newX = 0, newWidth = 0;
};

}  // namespace qbsvrl6

#endif

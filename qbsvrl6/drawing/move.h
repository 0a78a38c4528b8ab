// Puts a drawing elsewhere in its box.
#ifndef QBSVR_QBSVRL6_DRAWING_MOVE_H
#define QBSVR_QBSVRL6_DRAWING_MOVE_H

#include "qbsvrl6/items/drawing.h"

namespace qbsvrl6 {

// Moves all that is drawn to the right and down, in micrometres.
void moveBy(Drawing& drawing, double x, double y);

}  // namespace qbsvrl6

#endif

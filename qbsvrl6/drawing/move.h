// Moves a drawing within its box.
#ifndef QBSVR_QBSVRL6_DRAWING_MOVE_H
#define QBSVR_QBSVRL6_DRAWING_MOVE_H

#include "qbsvrl6/items/drawing.h"

namespace qbsvrl6 {

// Moves everything by `x` to the right and `y` down, in micrometres.
void moveBy(Drawing& drawing, double x, double y);

}  // namespace qbsvrl6

#endif

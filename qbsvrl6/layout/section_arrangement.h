// How the controls of a section move when some of them grow, shrink or go.
#ifndef QBSVR_QBSVRL6_LAYOUT_SECTION_ARRANGEMENT_H
#define QBSVR_QBSVRL6_LAYOUT_SECTION_ARRANGEMENT_H

#include <vector>

#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

struct ArrangedBox {
    Micrometres top = 0;
    Micrometres height = 0;  // as designed
    Micrometres needed = 0;  // where the box grows: the height that it needs
    bool shrinks = false;    // gives up the height that it does not need, if nothing else is beside it
    bool stretches = false;  // a line or box: its lower edge moves with what is above that edge
};

// Sets the tops and heights that the boxes end up with, and gives the section's height. Boxes below one that
// grows move down by as much, boxes below a removed line move up.
Micrometres arrangeBoxes(std::vector<ArrangedBox>& boxes, Micrometres sectionHeight, bool canGrow);

}  // namespace qbsvrl6

#endif

// Moves the controls of a section when some of them grow, shrink or disappear.
#ifndef QBSVR_QBSVRL6_LAYOUT_SECTION_ARRANGEMENT_H
#define QBSVR_QBSVRL6_LAYOUT_SECTION_ARRANGEMENT_H

#include <vector>

#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

struct ArrangedBox {
    Micrometres top = 0;
    Micrometres height = 0;  // as designed
    Micrometres needed = 0;  // the height that its content needs
    bool shrinks = false;    // gives up the height that it does not need, if nothing else is beside it
    bool stretches = false;  // a line or box: its lower edge moves with the controls above that edge
};

// Sets the final tops and heights of the boxes and returns the section's height. Boxes below a box that grows
// move down with its lower edge; boxes below a removed line move up.
Micrometres arrangeBoxes(std::vector<ArrangedBox>& boxes, Micrometres sectionHeight, bool canGrow);

}  // namespace qbsvrl6

#endif

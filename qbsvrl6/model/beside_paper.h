// Controls of which nothing is on the paper.
#ifndef QBSVR_QBSVRL6_MODEL_BESIDE_PAPER_H
#define QBSVR_QBSVRL6_MODEL_BESIDE_PAPER_H

#include <cstdint>

#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// Of a control with its own position, in a section that starts at the left margin. Loading a template logs
// these.
inline bool isBesidePaper(const Control& control, const PageSetup& page) {
    const std::int64_t left = std::int64_t{page.margins.left} + control.box.x;
    return left >= page.paper.width || (left < 0 && left + control.box.width <= 0);
}

}  // namespace qbsvrl6

#endif

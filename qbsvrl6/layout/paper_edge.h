// Controls at the edges of the paper: what reaches beyond them is lost on every page.
#ifndef QBSVR_QBSVRL6_LAYOUT_PAPER_EDGE_H
#define QBSVR_QBSVRL6_LAYOUT_PAPER_EDGE_H

#include <cstdint>

#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// A horizontal extent on the paper, or relative to what the caller counts from.
struct Extent {
    std::int64_t left = 0;
    std::int64_t width = 0;

    std::int64_t right() const { return left + width; }
};

// The extent that a control's content has: texts, barcodes, charts and sub-reports have what is on the paper,
// 0 to `paperWidth`, so that none of their numbers is cut. Lines, boxes and pictures have all of it, for they
// may run off the paper on purpose. So have controls that are beside the paper: nothing of them shows.
Extent extentOnPaper(const Control& control, const Extent& extent, Micrometres paperWidth);

// Logs how far a control reaches beyond the paper, unless it is no more than printers cut off.
void warnOfOverhang(const Control& control, const Extent& extent, Micrometres paperWidth);

}  // namespace qbsvrl6

#endif

// Controls that reach beyond the edges of the paper, where their content would be lost.
#ifndef QBSVR_QBSVRL6_LAYOUT_PAPER_EDGE_H
#define QBSVR_QBSVRL6_LAYOUT_PAPER_EDGE_H

#include <cstdint>

#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// A horizontal extent, on the paper or relative to an origin that the caller chooses.
struct Extent {
    std::int64_t left = 0;
    std::int64_t width = 0;

    std::int64_t right() const { return left + width; }
};

// The extent in which a control's content is laid out. Texts, barcodes, charts and sub-reports use the part
// on the paper, 0 to `paperWidth`, so that none of their numbers is cut. Lines, boxes and pictures, which may
// run off the paper on purpose, use all of it, as do controls that are wholly beside the paper and so
// invisible.
Extent extentOnPaper(const Control& control, const Extent& extent, Micrometres paperWidth);

// Logs how far a control reaches beyond the paper, unless that is within the usual bleed.
void warnOfOverhang(const Control& control, const Extent& extent, Micrometres paperWidth);

}  // namespace qbsvrl6

#endif

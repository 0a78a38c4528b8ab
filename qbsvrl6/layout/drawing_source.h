// The drawings that layout places without knowing how they are made.
#ifndef QBSVR_QBSVRL6_LAYOUT_DRAWING_SOURCE_H
#define QBSVR_QBSVRL6_LAYOUT_DRAWING_SOURCE_H

#include <memory>
#include <string_view>

#include "qbsvrl6/items/drawing.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// Draws barcodes and charts. `place` is the part of the item's box that the drawing fills: the box without
// its paddings. The drawing's coordinates start at the corner of the box, not at that of `place`. A null result
// leaves the box without a drawing.
class DrawingSource {
public:
    virtual ~DrawingSource() = default;
    virtual std::shared_ptr<const Drawing> barcode(const Control& control, std::u16string_view text,
                                                   const Rect& place) = 0;
    // `control` is the chart's control; settings and data are what it shows at this position.
    virtual std::shared_ptr<const Drawing> chart(const Control& control, const ChartSettings& settings,
                                                 const ChartData& data, const Rect& place) = 0;
};

}  // namespace qbsvrl6

#endif

// The source of charts and barcodes, which layout places but does not draw.
#ifndef QBSVR_QBSVRL6_LAYOUT_DRAWING_SOURCE_H
#define QBSVR_QBSVRL6_LAYOUT_DRAWING_SOURCE_H

#include <memory>
#include <string>
#include <string_view>

#include "qbsvrl6/items/drawing.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// Draws barcodes and charts. `place` is the part of the item's box that the drawing fills: the box without
// its paddings. The origin of the drawing is the corner of the box, not that of `place`. A null result leaves
// the box empty.
class DrawingSource {
public:
    virtual ~DrawingSource() = default;
    virtual std::shared_ptr<const Drawing> barcode(const Control& control, std::u16string_view text,
                                                   const Rect& place) = 0;
    // `control` is the chart's control; `settings` and `data` are those of this position.
    virtual std::shared_ptr<const Drawing> chart(const Control& control, const ChartSettings& settings,
                                                 const ChartData& data, const Rect& place) = 0;
    // The chart as a text, for readers who do not see it.
    virtual std::u16string describe(const ChartSettings& settings, const ChartData&) {
        return settings.title;
    }
};

}  // namespace qbsvrl6

#endif

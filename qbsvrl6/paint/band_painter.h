// Draws bands, item by item.
#ifndef QBSVR_QBSVRL6_PAINT_BAND_PAINTER_H
#define QBSVR_QBSVRL6_PAINT_BAND_PAINTER_H

#include <vector>

#include "qbsvrl6/items/band.h"
#include "qbsvrl6/model/report.h"
#include "qbsvrl6/paint/canvas.h"

namespace qbsvrl6 {

// A text that isn't laid out yet, and the position of its band.
struct PendingItem {
    Item item;
    Micrometres x = 0;
    Micrometres y = 0;
};

// Draws a band whose upper left corner is (x, y) on the page. Of an item whose text is pending, draws the
// background and border, and moves the item to `pending`.
void paintBand(Canvas& canvas, Band&& band, Micrometres x, Micrometres y, std::vector<PendingItem>& pending);

// Draws the text of an item that was pending and has been settled.
void paintText(Canvas& canvas, const PendingItem& settled);

// Draws the watermark across the middle of the page, from the lower left to the upper right.
void paintWatermark(Canvas& canvas, const Watermark& watermark, Size paper);

}  // namespace qbsvrl6

#endif

// Items that are never divided between pages: pictures, drawings and rotated texts.
#ifndef QBSVR_QBSVRL6_LAYOUT_WHOLE_ITEMS_H
#define QBSVR_QBSVRL6_LAYOUT_WHOLE_ITEMS_H

#include "qbsvrl6/items/item.h"
#include "qbsvrl6/layout/drawing_source.h"

namespace qbsvrl6 {

bool isWhole(const Item& item);

// Fits the item's content into the item's box: places a picture, draws a barcode or chart (only if `drawings`
// is not null), breaks a rotated text into lines again.
void fitIntoBox(Item& item, DrawingSource* drawings);

// The height of the box that its content uses.
Micrometres usedHeight(const Item& item);

}  // namespace qbsvrl6

#endif

// Items that the end of a page does not divide: pictures, drawings and rotated texts.
#ifndef QBSVR_QBSVRL6_LAYOUT_WHOLE_ITEMS_H
#define QBSVR_QBSVRL6_LAYOUT_WHOLE_ITEMS_H

#include "qbsvrl6/items/item.h"
#include "qbsvrl6/layout/drawing_source.h"

namespace qbsvrl6 {

bool isWhole(const Item& item);

// Fits the item's content into the item's box: a picture is placed, a barcode or chart drawn (not without
// `drawings`), a rotated text broken again.
void fitIntoBox(Item& item, DrawingSource* drawings);

// The height of the box that its content uses.
Micrometres usedHeight(const Item& item);

}  // namespace qbsvrl6

#endif

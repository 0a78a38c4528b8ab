// Drawings as pictures, for formats without vector drawings.
#ifndef QBSVR_QBSVRL6_SHEET_WORKBOOK_DRAWING_PICTURE_H
#define QBSVR_QBSVRL6_SHEET_WORKBOOK_DRAWING_PICTURE_H

#include <map>
#include <memory>
#include <tuple>
#include <vector>

#include "qbsvrl6/items/item.h"
#include "qbsvrl6/model/report.h"
#include "qbsvrl6/support/xml_writer.h"

namespace qbsvrl6 {

// The pictures and drawings of one document, as pictures. Each is stored once and numbered from 1 in the
// order of use.
class PictureList {
public:
    // The number of an item's picture; 0 if it has none or can't be drawn (which is logged).
    std::uint32_t numberOf(const Item& item);
    // The same, for formats whose readers disagree about cut pictures: what is shown is drawn.
    std::uint32_t numberOfShown(const Item& item);

    const std::vector<std::shared_ptr<const Picture>>& pictures() const { return pictures_; }

private:
    std::uint32_t add(std::shared_ptr<const Picture> picture);
    std::uint32_t addDrawn(const Item& item);

    std::vector<std::shared_ptr<const Picture>> pictures_;
    std::map<std::uint64_t, std::uint32_t> byId_;
    std::map<std::tuple<std::uint64_t, Micrometres, Micrometres>, std::uint32_t> byShownSize_;
    // Owns the drawings, so that no other drawing gets the same address.
    std::map<std::shared_ptr<const Drawing>, std::uint32_t> byDrawing_;
};

// The background, with the watermark on top of it, as one picture of the size of the paper. Without a
// watermark, the background itself; null if there is neither.
std::shared_ptr<const Picture> backdropOf(const std::shared_ptr<const Picture>& background,
                                          const Watermark& watermark, Size paper);

// The part of the item's box that the picture covers.
Rect pictureBox(const Item& item);

// The shares of a picture's width and height that the item's box cuts off.
struct PictureCut {
    double right = 0, bottom = 0;

    bool isEmpty() const { return right <= 0 && bottom <= 0; }
};
PictureCut pictureCut(const Item& item);

// The part of a picture that DrawingML shows, after its <a:blip>; nothing if that is all of it.
void writeCut(XmlWriter& xml, const PictureCut& cut);

}  // namespace qbsvrl6

#endif

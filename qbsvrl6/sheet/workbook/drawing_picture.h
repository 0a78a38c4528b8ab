// Drawings for documents that know pictures only.
#ifndef QBSVR_QBSVRL6_SHEET_WORKBOOK_DRAWING_PICTURE_H
#define QBSVR_QBSVRL6_SHEET_WORKBOOK_DRAWING_PICTURE_H

#include <map>
#include <memory>

#include "qbsvrl6/items/item.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// Pictures and drawings of one document as pictures, each once, numbered from 1 in the order of use.
class PictureList {
public:
    // The number of an item's picture; 0 where it has none, or it can't be drawn (which is logged).
    std::uint32_t numberOf(const Item& item);

    const std::vector<std::shared_ptr<const Picture>>& pictures() const { return pictures_; }

private:
    std::uint32_t add(std::shared_ptr<const Picture> picture);

    std::vector<std::shared_ptr<const Picture>> pictures_;
    std::map<std::uint64_t, std::uint32_t> byId_;
    // A drawing is held with its number, so that no other one gets its address.
    std::map<std::shared_ptr<const Drawing>, std::uint32_t> byDrawing_;
};

// What is below the texts of a page, as one picture of the paper's size: the background, and on top of it the
// watermark. Null where there is neither; without a watermark it is the background itself.
std::shared_ptr<const Picture> backdropOf(const std::shared_ptr<const Picture>& background,
                                          const Watermark& watermark, Size paper);

// The position of the picture in the item's box.
Rect pictureBox(const Item& item);

}  // namespace qbsvrl6

#endif

#include "qbsvrl6/layout/whole_items.h"

#include <algorithm>

#include "qbsvrl6/layout/picture_store.h"
#include "qbsvrl6/layout/style_pool.h"
#include "qbsvrl6/layout/text_layout.h"

namespace qbsvrl6 {

namespace {

// The box without its paddings, relative to its corner. Paddings that would leave no space are ignored.
Rect insidePaddings(Size box, const Edges& padding) {
    Rect inner{0, 0, box.width, box.height};
    if (padding.left + padding.right < box.width) {
        inner.x = padding.left;
        inner.width -= padding.left + padding.right;
    }
    if (padding.top + padding.bottom < box.height) {
        inner.y = padding.top;
        inner.height -= padding.top + padding.bottom;
    }
    return inner;
}

void draw(DrawingItem& item, const Rect& place, DrawingSource* drawings) {
    if (drawings == nullptr || item.control == nullptr) return;
    if (item.chart) {
        item.drawing = drawings->chart(*item.control, item.chart->settings, *item.chart->data, place);
    } else if (item.control->kind() == ControlKind::Barcode && !item.alternateText.empty()) {
        item.drawing = drawings->barcode(*item.control, item.alternateText, place);
    }
}

}  // namespace

bool isWhole(const Item& item) {
    return std::holds_alternative<PictureItem>(item.content) ||
           std::holds_alternative<DrawingItem>(item.content) ||
           (std::holds_alternative<TextItem>(item.content) && item.style->rotation != 0);
}

void fitIntoBox(Item& item, DrawingSource* drawings) {
    const Size box{item.box.width, item.box.height};
    const Rect inner = insidePaddings(box, item.style->padding);
    if (auto* const picture = std::get_if<PictureItem>(&item.content)) {
        if (picture->picture) picture->placed = fitPicture(*picture->picture, picture->fit, inner);
    } else if (auto* const drawing = std::get_if<DrawingItem>(&item.content)) {
        draw(*drawing, inner, drawings);
    } else if (auto* const text = std::get_if<TextItem>(&item.content)) {
        const PooledStyle& style = PooledStyle::of(*item.style);
        breakText(*text, style, box);
        placeText(*text, style, box);
    }
}

Micrometres usedHeight(const Item& item) {
    const Edges& padding = item.style->padding;
    Micrometres height = item.box.height - padding.top - padding.bottom;
    if (const auto* const picture = std::get_if<PictureItem>(&item.content)) {
        if (!picture->picture) return 0;
        if (picture->fit == PictureFit::Contain) height = picture->placed.height;
    } else if (const auto* const text = std::get_if<TextItem>(&item.content)) {
        height = placedHeight(*text, PooledStyle::of(*item.style));
    }
    return std::min(item.box.height, height + padding.top + padding.bottom);
}

}  // namespace qbsvrl6

#include "qbsvrl6/sheet/grid/cell.h"

namespace qbsvrl6 {

bool isPending(const Item& item) {
    const auto* text = std::get_if<TextItem>(&item.content);
    return text != nullptr && text->pending;
}

std::u16string_view textOf(const Item& item) {
    if (const auto* text = std::get_if<TextItem>(&item.content)) return text->text;
    if (const auto* drawing = std::get_if<DrawingItem>(&item.content)) return drawing->alternateText;
    if (const auto* picture = std::get_if<PictureItem>(&item.content)) return picture->alternateText;
    return {};
}

bool isPicture(const Item& item) {
    return std::holds_alternative<PictureItem>(item.content) ||
           std::holds_alternative<DrawingItem>(item.content);
}

bool isDecoration(const Item& item) {
    return std::holds_alternative<LineItem>(item.content) || std::holds_alternative<BoxItem>(item.content);
}

bool takesCells(const Item& item, GridFit fit) {
    if (isDecoration(item)) return false;
    if (isPicture(item)) return fit != GridFit::Overlay;
    const auto& text = std::get<TextItem>(item.content);
    if (!text.text.empty() || text.pending || (item.column >= 0 && item.box.height >= kEdgeTolerance))
        return true;
    return item.style != nullptr && (item.style->background || item.style->border != Border{});
}

}  // namespace qbsvrl6

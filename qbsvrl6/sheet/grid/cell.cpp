#include "qbsvrl6/sheet/grid/cell.h"

#include <utility>

namespace qbsvrl6 {

namespace {

std::u16string& alternateTextOf(Item& picture) {
    if (auto* const drawing = std::get_if<DrawingItem>(&picture.content)) return drawing->alternateText;
    return std::get<PictureItem>(picture.content).alternateText;
}

void appendText(TextItem& there, const Item& item, std::u16string_view text) {
    if (!there.text.empty()) there.text += u' ';
    if (const auto* const joined = std::get_if<TextItem>(&item.content)) {
        for (PageField field : joined->pageFields) {
            field.start += there.text.size();
            there.pageFields.push_back(field);
        }
        if (there.link.empty()) there.link = joined->link;
    }
    there.text += text;
    there.value = {};
    there.calculation = {};
}

}  // namespace

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

void joinText(Item& owner, const Item& item) {
    const std::u16string_view text = textOf(item);
    if (auto* const there = std::get_if<TextItem>(&owner.content); there == nullptr) {
        std::u16string& alternate = alternateTextOf(owner);
        if (!alternate.empty() && !text.empty()) alternate += u' ';
        alternate += text;
    } else if (there->pending) {
        there->joined.push_back(item);
    } else if (!text.empty()) {
        appendText(*there, item, text);
    }
}

void settleCell(Item& item, PendingTexts& pending) {
    if (!isPending(item)) return;
    pending.settle(item);
    std::vector<Item> joined = std::exchange(std::get<TextItem>(item.content).joined, {});
    for (Item& part : joined) {
        if (isPending(part)) pending.settle(part);
        joinText(item, part);
    }
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

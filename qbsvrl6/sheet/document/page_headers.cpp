#include "qbsvrl6/sheet/document/page_headers.h"

#include <algorithm>
#include <string_view>

namespace qbsvrl6 {

namespace {

bool isContinued(const TextItem& first, const TextItem& later, int pages) {
    if (first.pageFields.size() != later.pageFields.size()) return false;
    std::size_t from = 0;
    std::size_t laterFrom = 0;
    const auto sameUpTo = [&](std::size_t end, std::size_t laterEnd) {
        return std::u16string_view(first.text).substr(from, end - from) ==
               std::u16string_view(later.text).substr(laterFrom, laterEnd - laterFrom);
    };
    for (std::size_t i = 0; i < first.pageFields.size(); ++i) {
        const PageField& field = first.pageFields[i];
        const PageField& laterField = later.pageFields[i];
        const int wanted = field.kind == PageField::Kind::Number ? field.value + pages : field.value;
        const bool isExpected = field.kind == laterField.kind && laterField.value == wanted;
        if (!isExpected || !sameUpTo(field.start, laterField.start)) return false;
        from = field.end();
        laterFrom = laterField.end();
    }
    return sameUpTo(first.text.size(), later.text.size());
}

bool isContinued(const Item& first, const Item& later, int pages) {
    if (first.box != later.box || first.style != later.style ||
        first.content.index() != later.content.index()) {
        return false;
    }
    if (const auto* text = std::get_if<TextItem>(&first.content)) {
        const auto& other = std::get<TextItem>(later.content);
        return text->fontSize == other.fontSize && text->color == other.color && text->link == other.link &&
               isContinued(*text, other, pages);
    }
    if (const auto* picture = std::get_if<PictureItem>(&first.content)) {
        return picture->picture == std::get<PictureItem>(later.content).picture;
    }
    if (const auto* drawing = std::get_if<DrawingItem>(&first.content)) {
        return drawing->drawing == std::get<DrawingItem>(later.content).drawing;
    }
    return true;  // lines and boxes of the template
}

bool isContinued(const std::vector<PlacedBand>& first, const std::vector<PlacedBand>& later, int pages) {
    return std::equal(
        first.begin(), first.end(), later.begin(), later.end(),
        [&](const PlacedBand& one, const PlacedBand& other) {
            return one.x == other.x && one.y == other.y && one.band.height == other.band.height &&
                   std::equal(one.band.items.begin(), one.band.items.end(), other.band.items.begin(),
                              other.band.items.end(), [&](const Item& item, const Item& laterItem) {
                                  return isContinued(item, laterItem, pages);
                              });
        });
}

}  // namespace

bool isContinued(const PageHeaderFooter& first, const PageHeaderFooter& later, int pages) {
    return first.paperKind == later.paperKind && isContinued(first.header, later.header, pages) &&
           isContinued(first.footer, later.footer, pages);
}

void settle(PageHeaderFooter& page, PendingTexts& pending) {
    for (std::vector<PlacedBand>* const bands : {&page.header, &page.footer}) {
        for (PlacedBand& placed : *bands) {
            for (Item& item : placed.band.items) {
                const auto* const text = std::get_if<TextItem>(&item.content);
                if (text != nullptr && text->pending) pending.settle(item);
            }
        }
    }
}

std::vector<std::size_t> sectionStarts(const std::vector<PageHeaderFooter>& pages) {
    std::vector<std::size_t> starts;
    for (std::size_t i = 0; i < pages.size(); ++i) {
        const bool isContinuation = !starts.empty() && isContinued(pages[starts.back()], pages[i],
                                                                   static_cast<int>(i - starts.back()));
        if (!isContinuation) starts.push_back(i);
    }
    return starts;
}

std::vector<PageField> countedFields(const TextItem& text, std::size_t pages) {
    std::vector<PageField> fields = text.pageFields;
    std::erase_if(fields, [&](const PageField& field) {
        return field.kind == PageField::Kind::Count && field.value != static_cast<int>(pages);
    });
    return fields;
}

std::optional<int> shownPageNumber(const PageHeaderFooter& page) {
    for (const std::vector<PlacedBand>* bands : {&page.header, &page.footer}) {
        for (const PlacedBand& placed : *bands) {
            for (const Item& item : placed.band.items) {
                const auto* text = std::get_if<TextItem>(&item.content);
                if (text == nullptr) continue;
                for (const PageField& field : text->pageFields) {
                    if (field.kind == PageField::Kind::Number) return field.value;
                }
            }
        }
    }
    return std::nullopt;
}

}  // namespace qbsvrl6

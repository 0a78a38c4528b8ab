// Keeps the pending texts of a document until its end. A report of many pages has as many of them, and most
// are alike: "page 7 of ..." differs from "page 8 of ..." only in what PendingTexts knows.
#ifndef QBSVR_QBSVRL6_ITEMS_PENDING_ITEMS_H
#define QBSVR_QBSVRL6_ITEMS_PENDING_ITEMS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "qbsvrl6/items/item.h"

namespace qbsvrl6 {

class PendingItems {
public:
    // Returns the item's index, counted from 0. Its text is pending.
    std::size_t add(Item&& item) {
        const std::uint32_t key = std::get<TextItem>(item.content).pendingKey;
        constexpr std::ptrdiff_t kFormsOfAPage = 8;
        const auto recent = forms_.rbegin() + std::min(kFormsOfAPage, std::ssize(forms_));
        const auto known =
            std::find_if(forms_.rbegin(), recent, [&](const Item& form) { return areAlike(form, item); });
        const std::ptrdiff_t form = known == recent ? std::ssize(forms_) : forms_.rend() - known - 1;
        if (known == recent) forms_.push_back(std::move(item));
        entries_.push_back({static_cast<std::uint32_t>(form), key});
        return entries_.size() - 1;
    }

    std::size_t size() const { return entries_.size(); }
    bool isEmpty() const { return entries_.empty(); }

    // The item as it was added.
    Item item(std::size_t index) const {
        Item item = forms_[entries_[index].form];
        std::get<TextItem>(item.content).pendingKey = entries_[index].key;
        return item;
    }

private:
    struct Entry {
        std::uint32_t form = 0;
        std::uint32_t key = 0;
    };

    static bool haveEqualValues(const CellValue& a, const CellValue& b) {
        return a.type == b.type && a.boolean == b.boolean && a.date == b.date &&
               a.spreadsheetFormat == b.spreadsheetFormat && compare(a.number, b.number) == 0;
    }

    static bool areAlike(const Item& a, const Item& b) {
        const auto& left = std::get<TextItem>(a.content);
        const auto& right = std::get<TextItem>(b.content);
        const bool isLaidOut = !left.lines.empty() || !right.lines.empty() || !left.pageFields.empty() ||
                               !right.pageFields.empty() || !left.joined.empty() || !right.joined.empty();
        return !isLaidOut && a.box == b.box && a.style == b.style && a.column == b.column &&
               a.lastColumn == b.lastColumn && left.text == right.text && left.shown == right.shown &&
               left.masked == right.masked && left.fontSize == right.fontSize && left.color == right.color &&
               left.link == right.link && haveEqualValues(left.value, right.value);
    }

    std::vector<Item> forms_;  // that differ in more than their keys
    std::vector<Entry> entries_;
};

}  // namespace qbsvrl6

#endif

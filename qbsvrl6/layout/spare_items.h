// The items of bands that a sink is done with, for the next ones.
#ifndef QBSVR_QBSVRL6_LAYOUT_SPARE_ITEMS_H
#define QBSVR_QBSVRL6_LAYOUT_SPARE_ITEMS_H

#include <algorithm>
#include <cstddef>
#include <utility>
#include <variant>
#include <vector>

#include "qbsvrl6/items/item.h"

namespace qbsvrl6 {

// Makes the item a text without content, in the memory of its former text.
inline void makeBlank(Item& item) {
    constexpr std::size_t kLongestText = 256;
    auto* const text = std::get_if<TextItem>(&item.content);
    if (text == nullptr || text->text.capacity() > kLongestText) {
        item.content = TextItem();
    } else {
        text->clear();
    }
}

// Most bands have as many items as one before them, with texts of about the same length. Their items stay
// where they are, so that nothing is moved or allocated.
class SpareItems {
public:
    // As a former band left them: as many if possible, otherwise none, fewer or more.
    std::vector<Item> take(std::size_t count) {
        constexpr std::size_t kSearched = 4;  // a page has headers and footers besides its rows
        const auto end = spares_.rbegin() + static_cast<std::ptrdiff_t>(std::min(spares_.size(), kSearched));
        auto spare =
            std::find_if(spares_.rbegin(), end, [count](const auto& items) { return items.size() == count; });
        if (spare == end && spares_.size() < kSearched) return {};
        if (spare == end) spare = spares_.rbegin();
        std::swap(*spare, spares_.back());
        std::vector<Item> items = std::move(spares_.back());
        spares_.pop_back();
        return items;
    }

    void keep(std::vector<Item>&& items) {
        constexpr std::size_t kMostBands = 128, kMostItems = 64;
        if (items.empty() || items.size() > kMostItems || spares_.size() == kMostBands) return;
        spares_.push_back(std::move(items));
    }

private:
    std::vector<std::vector<Item>> spares_;
};

}  // namespace qbsvrl6

#endif

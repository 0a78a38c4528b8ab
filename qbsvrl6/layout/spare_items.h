// The memory of bands that a sink is done with, for the items of the next ones.
#ifndef QBSVR_QBSVRL6_LAYOUT_SPARE_ITEMS_H
#define QBSVR_QBSVRL6_LAYOUT_SPARE_ITEMS_H

#include <cstddef>
#include <utility>
#include <vector>

#include "qbsvrl6/items/item.h"

namespace qbsvrl6 {

// A page has as many bands as rows, and the items of a row take more memory than an allocator keeps at hand.
class SpareItems {
public:
    // An empty list, with memory if there is some.
    std::vector<Item> take() {
        if (spare_.empty()) return {};
        std::vector<Item> items = std::move(spare_.back());
        spare_.pop_back();
        return items;
    }

    void keep(std::vector<Item>&& items) {
        constexpr std::size_t kMostLists = 128;
        constexpr std::size_t kMostItems = 64;
        if (items.capacity() == 0 || items.capacity() > kMostItems || spare_.size() == kMostLists) return;
        items.clear();
        spare_.push_back(std::move(items));
    }

private:
    std::vector<std::vector<Item>> spare_;
};

}  // namespace qbsvrl6

#endif

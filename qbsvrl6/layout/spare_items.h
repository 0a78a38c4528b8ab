// The memory of bands that a sink is done with, for the next ones.
#ifndef QBSVR_QBSVRL6_LAYOUT_SPARE_ITEMS_H
#define QBSVR_QBSVRL6_LAYOUT_SPARE_ITEMS_H

#include <cstddef>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "qbsvrl6/items/item.h"

namespace qbsvrl6 {

// Objects without content that own memory.
template <class T>
class Spares {
public:
    // With memory, if there is some.
    T take() {
        if (spares_.empty()) return {};
        T spare = std::move(spares_.back());
        spares_.pop_back();
        return spare;
    }

    void keep(T&& used, std::size_t most) {
        if (spares_.size() == most) return;
        used.clear();
        spares_.push_back(std::move(used));
    }

private:
    std::vector<T> spares_;
};

// A page has as many bands as rows. The allocator would tidy up after each of them: it keeps only a few small
// blocks of each size at hand, and none as large as the items of a row.
class SpareItems {
public:
    std::vector<Item> takeItems() { return items_.take(); }
    std::u16string takeText() { return texts_.take(); }
    std::vector<PlacedLine> takeLines() { return lines_.take(); }

    void keep(std::vector<Item>&& items) {
        constexpr std::size_t kMostBands = 128, kMostItems = 64, kMostTexts = 2'000, kLongestText = 64;
        if (items.capacity() == 0 || items.capacity() > kMostItems) return;
        for (Item& item : items) {
            auto* const text = std::get_if<TextItem>(&item.content);
            if (text == nullptr) continue;
            const std::size_t units = text->text.capacity();
            if (units > std::u16string().capacity() && units <= kLongestText) {
                texts_.keep(std::move(text->text), kMostTexts);
            }
            if (text->lines.capacity() == 1) lines_.keep(std::move(text->lines), kMostTexts);
        }
        items_.keep(std::move(items), kMostBands);
    }

private:
    Spares<std::vector<Item>> items_;
    Spares<std::u16string> texts_;
    Spares<std::vector<PlacedLine>> lines_;  // each for one line
};

}  // namespace qbsvrl6

#endif

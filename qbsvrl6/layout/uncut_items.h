// The items of a split band that no split has reached yet. Each split handles only the items that begin above
// its cut, so that a band of many pages is split in linear time.
#ifndef QBSVR_QBSVRL6_LAYOUT_UNCUT_ITEMS_H
#define QBSVR_QBSVRL6_LAYOUT_UNCUT_ITEMS_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "qbsvrl6/items/item.h"
#include "qbsvrl6/layout/late_item.h"

namespace qbsvrl6 {

struct BandDraft;

// Heights are those of the draft that owns the object, and change with each split. The number of an item is
// its index before the first split; the parts of a divided item have the same number.
class UncutItems {
public:
    // Takes the items and cuts of the draft.
    explicit UncutItems(BandDraft& draft);

    // The last height, from 1 to `height`, at which a cut divides nothing; 0: none.
    Micrometres cutBefore(Micrometres height) const;
    // Puts the items that begin above `height` into the draft, between those that it has already.
    void putAbove(std::int64_t height, BandDraft& draft);
    // Puts everything into the draft.
    void putAll(BandDraft& draft);

    bool isEmpty() const { return next_ == order_.size(); }
    bool hasOnlyEmptyCells() const { return contents_ == 0; }
    std::int64_t top() const { return topOf(order_[next_]); }  // of the highest item; there must be one

    // The draft continues below `cut`, after moving down by `extra`.
    void continueBelow(Micrometres cut, Micrometres extra);
    void moveUp(Micrometres height) { above_ += height; }
    void removeItems() { next_ = order_.size(); }

    // Of the items that the draft has.
    const std::vector<std::size_t>& numbers() const { return numbers_; }
    void setNumbers(std::vector<std::size_t> numbers) { numbers_ = std::move(numbers); }
    std::vector<int> columnGroupsOf(const std::vector<std::size_t>& numbers) const;

private:
    std::int64_t topOf(std::size_t number) const { return items_[number].box.y - above_; }
    LateItem* lateOf(std::size_t number);

    std::vector<Item> items_;        // by number
    std::vector<int> columnGroups_;  // by number; empty if there is only one
    std::vector<LateItem> deferred_;
    std::vector<Micrometres> cuts_;
    std::size_t nextCut_ = 0;  // the cuts before it are above the draft

    std::vector<std::size_t> order_;  // numbers, by the tops of the items
    std::size_t next_ = 0;            // in order_: the items before it have been put into the draft
    std::size_t contents_ = 0;        // number of the other items that aren't empty cells
    std::int64_t above_ = 0;          // height of the first draft that is above this one
    std::vector<std::size_t> numbers_;
};

// Whether the item is a text that stays empty.
bool isEmptyCell(const Item& item);

}  // namespace qbsvrl6

#endif

#include "qbsvrl6/layout/uncut_items.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <utility>

#include "qbsvrl6/layout/band_draft.h"

namespace qbsvrl6 {

bool isEmptyCell(const Item& item) {
    const auto* const text = std::get_if<TextItem>(&item.content);
    return text != nullptr && text->text.empty() && !text->pending;
}

UncutItems::UncutItems(BandDraft& draft)
    : items_(std::exchange(draft.band.items, {})),
      columnGroups_(std::exchange(draft.columnGroups, {})),
      deferred_(std::exchange(draft.deferred, {})),
      cuts_(std::exchange(draft.cuts, {})),
      order_(items_.size()) {
    std::iota(order_.begin(), order_.end(), std::size_t{0});
    std::sort(order_.begin(), order_.end(),
              [&](std::size_t a, std::size_t b) { return items_[a].box.y < items_[b].box.y; });
    contents_ =
        items_.size() - static_cast<std::size_t>(std::count_if(items_.begin(), items_.end(), isEmptyCell));
}

Micrometres UncutItems::cutBefore(Micrometres height) const {
    const auto first = cuts_.begin() + static_cast<std::ptrdiff_t>(nextCut_);
    const auto after = std::upper_bound(first, cuts_.end(), height + above_);
    return after == first ? 0 : static_cast<Micrometres>(std::max<std::int64_t>(*(after - 1) - above_, 0));
}

void UncutItems::putAbove(std::int64_t height, BandDraft& draft) {
    std::vector<std::size_t> reached;
    while (!isEmpty() && top() < height) reached.push_back(order_[next_++]);
    if (reached.empty()) return;
    std::sort(reached.begin(), reached.end());
    std::vector<Item> items = std::exchange(draft.band.items, {});
    std::vector<LateItem> deferred = std::exchange(draft.deferred, {});
    const std::vector<std::size_t> numbers = std::exchange(numbers_, {});
    const auto put = [&](std::size_t number, Item&& item, LateItem* late) {
        if (late != nullptr) {
            late->item = draft.band.items.size();
            draft.deferred.push_back(std::move(*late));
        }
        draft.band.items.push_back(std::move(item));
        numbers_.push_back(number);
    };
    auto late = deferred.begin();
    auto next = reached.begin();
    for (std::size_t i = 0; i <= items.size(); ++i) {
        for (; next != reached.end() && (i == items.size() || *next < numbers[i]); ++next) {
            Item& item = items_[*next];
            item.box.y = static_cast<Micrometres>(topOf(*next));
            if (!isEmptyCell(item)) --contents_;
            put(*next, std::move(item), lateOf(*next));
        }
        if (i == items.size()) break;
        const bool isLate = late != deferred.end() && late->item == i;
        put(numbers[i], std::move(items[i]), isLate ? &*late++ : nullptr);
    }
}

void UncutItems::putAll(BandDraft& draft) {
    putAbove(std::numeric_limits<std::int64_t>::max(), draft);
    draft.columnGroups = columnGroupsOf(numbers_);
    for (std::size_t i = nextCut_; i < cuts_.size(); ++i) {
        draft.cuts.push_back(static_cast<Micrometres>(std::max<std::int64_t>(cuts_[i] - above_, 0)));
    }
}

void UncutItems::continueBelow(Micrometres cut, Micrometres extra) {
    while (nextCut_ < cuts_.size() && cuts_[nextCut_] - above_ <= cut) ++nextCut_;
    above_ += cut - extra;
}

std::vector<int> UncutItems::columnGroupsOf(const std::vector<std::size_t>& numbers) const {
    std::vector<int> groups;
    if (columnGroups_.empty()) return groups;
    for (const std::size_t number : numbers) groups.push_back(columnGroups_[number]);
    return groups;
}

LateItem* UncutItems::lateOf(std::size_t number) {
    const auto late =
        std::lower_bound(deferred_.begin(), deferred_.end(), number,
                         [](const LateItem& one, std::size_t wanted) { return one.item < wanted; });
    return late != deferred_.end() && late->item == number ? &*late : nullptr;
}

}  // namespace qbsvrl6

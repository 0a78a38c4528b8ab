// The states of a report's aggregates, so that growing ranges add each row only once.
#ifndef QBSVR_QBSVRL6_BIND_AGGREGATE_CACHE_H
#define QBSVR_QBSVRL6_BIND_AGGREGATE_CACHE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "qbsvrl6/bind/aggregate_state.h"

namespace qbsvrl6 {

// Each aggregate has a slot with its last few ranges: sections of several levels may share an aggregate
// through a calculated field, and the rows of a page are summed beside those of all pages before it.
class AggregateCache {
public:
    explicit AggregateCache(std::size_t slots = 0) : slots_(slots) {}
    void clear() { slots_.assign(slots_.size(), {}); }

    // The state of exactly these rows. If a cached range has the same start, `extend(state)` adds only the
    // new rows, up to range.end, so that running totals take linear time. `extend` may use the cache, even
    // this slot. A range without rows takes no place in the cache: before a row is on a page, the pages before
    // it have none.
    template <class Extend>
    const AggregateState& stateOf(std::uint32_t slot, RowRange range, Extend&& extend) {
        if (range.end <= range.first) return ofNoRows_;
        const std::size_t index = indexOf(slots_[slot], range);
        if (slots_[slot].states[index].range.end < range.end) {
            AggregateState state = std::move(slots_[slot].states[index]);
            extend(state);
            slots_[slot].states[index] = std::move(state);
        }
        return slots_[slot].states[index];
    }

private:
    struct Slot {
        std::array<AggregateState, 4> states;
        std::array<std::uint64_t, 4> lastUses{};  // the one that was not used for longest is replaced
        std::uint64_t uses = 0;
    };

    // The index of a state that has the start of the range and does not exceed it, or else of a new, empty
    // one.
    static std::size_t indexOf(Slot& slot, RowRange range);

    std::vector<Slot> slots_;
    AggregateState ofNoRows_;
};

}  // namespace qbsvrl6

#endif

// The states of a report's aggregates, so that rows are taken once where ranges grow.
#ifndef QBSVR_QBSVRL6_BIND_AGGREGATE_CACHE_H
#define QBSVR_QBSVRL6_BIND_AGGREGATE_CACHE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "qbsvrl6/bind/aggregate_state.h"

namespace qbsvrl6 {

// A slot per aggregate holds the ranges that it was last asked for: sections of several levels may share an
// aggregate through a calculated field.
class AggregateCache {
public:
    explicit AggregateCache(std::size_t slots = 0) : slots_(slots) {}
    void clear() { slots_.assign(slots_.size(), {}); }

    // The state of exactly these rows. A range that starts where an earlier one did takes only the rows that
    // are new, so that running totals are linear: `extend(state)` takes them, up to range.end. It may use the
    // cache, even this slot.
    template <class Extend>
    const AggregateState& stateOf(std::uint32_t slot, RowRange range, Extend&& extend) {
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
        std::size_t next = 0;  // that gives way
    };

    // Of a state that begins with the range and does not exceed it; an empty one if there is none.
    static std::size_t indexOf(Slot& slot, RowRange range);

    std::vector<Slot> slots_;
};

}  // namespace qbsvrl6

#endif

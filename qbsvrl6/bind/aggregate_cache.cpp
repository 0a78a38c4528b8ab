#include "qbsvrl6/bind/aggregate_cache.h"

#include <algorithm>

namespace qbsvrl6 {

std::size_t AggregateCache::indexOf(Slot& slot, RowRange range) {
    const auto known = std::find_if(slot.states.begin(), slot.states.end(), [&](const AggregateState& state) {
        return state.range.end > state.range.first && state.range.first == range.first &&
               state.range.end <= range.end;
    });
    if (known != slot.states.end()) return static_cast<std::size_t>(known - slot.states.begin());
    const std::size_t index = slot.next++ % slot.states.size();
    slot.states[index].restart(range.first);
    return index;
}

}  // namespace qbsvrl6

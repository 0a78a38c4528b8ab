#include "qbsvrl6/bind/aggregate_cache.h"

#include <algorithm>

namespace qbsvrl6 {

std::size_t AggregateCache::indexOf(Slot& slot, RowRange range) {
    const auto known = std::find_if(slot.states.begin(), slot.states.end(), [&](const AggregateState& state) {
        return state.range.end > state.range.first && state.range.first == range.first &&
               state.range.end <= range.end;
    });
    const bool isKnown = known != slot.states.end();
    const auto oldest = std::min_element(slot.lastUses.begin(), slot.lastUses.end());
    const auto index =
        static_cast<std::size_t>(isKnown ? known - slot.states.begin() : oldest - slot.lastUses.begin());
    if (!isKnown) slot.states[index].restart(range.first);
    slot.lastUses[index] = ++slot.uses;
    return index;
}

}  // namespace qbsvrl6

// Structures of the interface that may grow: their first member is the size that the caller knows.
#ifndef QBSVR_QBSVRL6_API_STRUCTURES_H
#define QBSVR_QBSVRL6_API_STRUCTURES_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qbsvrl6 {

// Copies the members that the caller's structure has. Returns false for null and for a size without members.
template <class Structure>
bool give(Structure* to, Structure from) {
    if (to == nullptr || to->size <= sizeof to->size) return false;
    from.size = to->size;
    std::memcpy(to, &from, static_cast<std::size_t>(std::min<std::uint64_t>(to->size, sizeof from)));
    return true;
}

}  // namespace qbsvrl6

#endif

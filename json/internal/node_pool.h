// The memory of the nodes of one tree and of its objects' member lists: slots in growing chunks, which are
// reused after they are returned.
#ifndef QBSVR_JSON_INTERNAL_NODE_POOL_H
#define QBSVR_JSON_INTERNAL_NODE_POOL_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "json/json_tree.h"

namespace larkspur::json_internal {

// Used by one thread at a time, like its tree. Must outlive everything allocated from it.
class NodePool {
public:
    // A cache line: the size of a node, or of a list of four members.
    static constexpr std::size_t kSlotSize = 64;

    NodePool() = default;
    NodePool(const NodePool&) = delete;
    NodePool& operator=(const NodePool&) = delete;

    // Allocates memory with the alignment of a slot. Large blocks come from the heap.
    void* Take(std::size_t bytes) {
        const std::size_t slots = SlotsFor(bytes);
        if (slots > kMostSlots) return ::operator new (bytes, std::align_val_t{alignof(Slot)});
        if (m_Free[slots] != nullptr) return std::exchange(m_Free[slots], m_Free[slots]->next);
        if (static_cast<std::size_t>(m_ChunkEnd - m_Unused) < slots) AddChunk();
        return std::exchange(m_Unused, m_Unused + slots);
    }

    // `bytes` must be the number passed to Take.
    void GiveBack(void* place, std::size_t bytes) noexcept {
        const std::size_t slots = SlotsFor(bytes);
        if (slots > kMostSlots) return ::operator delete (place, std::align_val_t{alignof(Slot)});
        m_Free[slots] = ::new (place) Slot{m_Free[slots]};
    }

private:
    union alignas(kSlotSize) Slot {
        Slot* next;
        std::byte bytes[kSlotSize];
    };

    static constexpr std::size_t kMostSlots = 16;
    static constexpr std::size_t kFirstChunk = kMostSlots;  // in slots
    static constexpr std::size_t kMostDoublings = 14;       // 16 MB

    static constexpr std::size_t SlotsFor(std::size_t bytes) { return (bytes + kSlotSize - 1) / kSlotSize; }

    // Chunks double in size, so that small and large documents cost the same per value. Large chunks make the
    // C library keep memory for the next document instead of returning it to the system each time.
    void AddChunk() {
        const std::size_t count = kFirstChunk << std::min(m_Chunks.size(), kMostDoublings);
        m_Chunks.push_back(std::make_unique_for_overwrite<Slot[]>(count));
        m_Unused = m_Chunks.back().get();
        m_ChunkEnd = m_Unused + count;
    }

    std::vector<std::unique_ptr<Slot[]>> m_Chunks;
    Slot* m_Unused = nullptr;  // of the newest chunk, up to m_ChunkEnd
    Slot* m_ChunkEnd = nullptr;
    std::array<Slot*, kMostSlots + 1> m_Free{};  // by the number of slots
};

template <class T>
T* PoolAllocator<T>::allocate(std::size_t n) {
    return static_cast<T*>(m_Pool->Take(n * sizeof(T)));
}

template <class T>
void PoolAllocator<T>::deallocate(T* place, std::size_t n) noexcept {
    m_Pool->GiveBack(place, n * sizeof(T));
}

}  // namespace larkspur::json_internal

namespace larkspur {

static_assert(std::max({sizeof(ClkJsonAtomNode), sizeof(ClkJsonObjectNode), sizeof(ClkJsonArrayNode)}) <=
              json_internal::NodePool::kSlotSize);

inline void* ClkJsonNode::operator new(std::size_t, json_internal::NodePool& pool) {
    return pool.Take(json_internal::NodePool::kSlotSize);
}

inline void ClkJsonNode::operator delete(void* place, json_internal::NodePool& pool) noexcept {
    pool.GiveBack(place, json_internal::NodePool::kSlotSize);
}

}  // namespace larkspur

#endif

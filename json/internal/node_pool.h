// The memory of the nodes of one tree and the member lists of its objects: slots of growing chunks, reused
// when they are returned.
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

// Used by one thread at a time, like the tree that it belongs to. Must outlive what it has given.
class NodePool {
public:
    // A cache line, which is what a node or the list of four members takes.
    static constexpr std::size_t kSlotSize = 64;

    NodePool() = default;
    NodePool(const NodePool&) = delete;
    NodePool& operator=(const NodePool&) = delete;

    // Room that is aligned as a slot. Much of it comes from the heap.
    void* Take(std::size_t bytes) {
        const std::size_t slots = SlotsFor(bytes);
        if (slots > kMostSlots) return ::operator new (bytes, std::align_val_t{alignof(Slot)});
        if (m_Free[slots] != nullptr) return std::exchange(m_Free[slots], m_Free[slots]->next);
        if (static_cast<std::size_t>(m_ChunkEnd - m_Unused) < slots) AddChunk();
        return std::exchange(m_Unused, m_Unused + slots);
    }

    // With the bytes that it was taken for.
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

    // Chunks double, so that a document of three values is as cheap as one of three million. Large ones teach
    // the C library to keep memory for the next document instead of giving it back to the system each time.
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

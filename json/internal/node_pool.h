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

#include "json/internal/shared_name.h"
#include "json/json_tree.h"

namespace larkspur::json_internal {

// Nodes in any order.
class OwnerList {
public:
    void Add(ClkJsonNode& node);
    void Remove(ClkJsonNode& node) noexcept;

    const std::vector<ClkJsonNode*>& Nodes() const { return m_Nodes; }
    void Clear() noexcept { m_Nodes.clear(); }

private:
    std::vector<ClkJsonNode*> m_Nodes;
};

// Used by one thread at a time, like its tree. Must outlive everything allocated from it.
//
// A whole tree is destroyed without visiting its nodes, most of which own nothing outside the pool. The
// others are in a list, each with its position there.
class NodePool {
public:
    // A cache line: the size of a node, or of a list of four members.
    static constexpr std::size_t kSlotSize = 64;

    NodePool() = default;
    NodePool(const NodePool&) = delete;
    NodePool& operator=(const NodePool&) = delete;
    ~NodePool() { FreeLargeBlocks(); }

    // Allocates memory with the alignment of a slot. Large blocks come from the heap.
    void* Take(std::size_t bytes) {
        const std::size_t slots = SlotsFor(bytes);
        if (slots > kMostSlots) return TakeLargeBlock(bytes);
        if (m_Free[slots] != nullptr) return std::exchange(m_Free[slots], m_Free[slots]->next);
        if (static_cast<std::size_t>(m_ChunkEnd - m_Unused) < slots) AddChunk();
        return std::exchange(m_Unused, m_Unused + slots);
    }

    // `bytes` must be the number passed to Take.
    void GiveBack(void* place, std::size_t bytes) noexcept {
        const std::size_t slots = SlotsFor(bytes);
        if (slots > kMostSlots) return GiveBackLargeBlock(place);
        m_Free[slots] = ::new (place) Slot{m_Free[slots]};
    }

    // The nodes that own heap memory, and the names of all members.
    OwnerList& Owners() { return m_Owners; }
    NameList& Names() { return m_Names; }

    // Takes all memory back. Keeps the newest chunk, which is about half of the nodes, for the next document.
    void Reset() noexcept {
        FreeLargeBlocks();
        m_Free = {};
        if (m_Chunks.empty()) return;
        m_Chunks.front().swap(m_Chunks.back());
        m_Chunks.resize(1);
        m_Unused = m_Chunks.front().get();
    }

private:
    union alignas(kSlotSize) Slot {
        Slot* next;
        std::byte bytes[kSlotSize];
    };

    // Before a large block.
    struct alignas(kSlotSize) LargeBlock {
        LargeBlock* next;
        LargeBlock** previous;  // the pointer to this one
    };

    static constexpr std::size_t kMostSlots = 16;
    static constexpr std::size_t kFirstChunk = kMostSlots;           // in slots
    static constexpr std::size_t kLargestChunk = kFirstChunk << 14;  // 16 MB

    static constexpr std::size_t SlotsFor(std::size_t bytes) { return (bytes + kSlotSize - 1) / kSlotSize; }

    // Chunks double in size, so that small and large documents cost the same per value. Large chunks make the
    // C library keep memory for the next document instead of returning it to the system each time.
    void AddChunk() {
        const std::size_t count = m_ChunkSize;
        m_Chunks.push_back(std::make_unique_for_overwrite<Slot[]>(count));
        m_Unused = m_Chunks.back().get();
        m_ChunkEnd = m_Unused + count;
        m_ChunkSize = std::min(2 * count, kLargestChunk);
    }

    void* TakeLargeBlock(std::size_t bytes) {
        void* const place = ::operator new (sizeof(LargeBlock) + bytes, std::align_val_t{kSlotSize});
        auto* const block = ::new (place) LargeBlock{m_LargeBlocks, &m_LargeBlocks};
        if (block->next != nullptr) block->next->previous = &block->next;
        m_LargeBlocks = block;
        return block + 1;
    }

    static void GiveBackLargeBlock(void* place) noexcept {
        LargeBlock* const block = static_cast<LargeBlock*>(place) - 1;
        *block->previous = block->next;
        if (block->next != nullptr) block->next->previous = block->previous;
        ::operator delete (block, std::align_val_t{kSlotSize});
    }

    void FreeLargeBlocks() noexcept {
        while (m_LargeBlocks != nullptr) GiveBackLargeBlock(m_LargeBlocks + 1);
    }

    std::vector<std::unique_ptr<Slot[]>> m_Chunks;
    std::size_t m_ChunkSize = kFirstChunk;  // of the next one
    Slot* m_Unused = nullptr;               // of the newest chunk, up to m_ChunkEnd
    Slot* m_ChunkEnd = nullptr;
    std::array<Slot*, kMostSlots + 1> m_Free{};  // by the number of slots
    LargeBlock* m_LargeBlocks = nullptr;
    OwnerList m_Owners;
    NameList m_Names;
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

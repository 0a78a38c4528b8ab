// The memory of the nodes of one tree and of its objects' member lists: slots, which are reused after
// they are returned.
#ifndef QBSVR_JSON_INTERNAL_NODE_POOL_H
#define QBSVR_JSON_INTERNAL_NODE_POOL_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include "json/internal/arena.h"
#include "json/internal/parsed_text.h"
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
    static constexpr std::size_t kSlotSize = 16;
    static constexpr std::size_t kNodeSize = 64;  // a cache line

    NodePool() = default;
    NodePool(const NodePool&) = delete;
    NodePool& operator=(const NodePool&) = delete;
    ~NodePool() { FreeLargeBlocks(); }

    // Allocates memory with the alignment of a slot. Large blocks come from the heap.
    void* Take(std::size_t bytes) {
        const std::size_t slots = SlotsFor(bytes);
        if (slots > kMostSlots) return TakeLargeBlock(bytes);
        if (m_Free[slots] != nullptr) return std::exchange(m_Free[slots], m_Free[slots]->next);
        Slot* const place = m_Memory.Room<Slot>(slots);
        m_Memory.Take<Slot>(slots);
        return place;
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

    // What has been parsed and has no nodes yet. Readers replace it by nodes while they hold the mutex.
    ParsedTexts& Texts() { return m_Texts; }
    std::mutex& NodesMutex() { return m_NodesMutex; }

    // Takes all memory back.
    void Reset() noexcept {
        FreeLargeBlocks();
        m_Free = {};
        m_Memory.Reset();
    }

private:
    union alignas(kSlotSize) Slot {
        Slot* next;
        std::byte bytes[kSlotSize];
    };

    // Before a large block.
    struct LargeBlock {
        LargeBlock* next;
        LargeBlock** previous;  // the pointer to this one
    };

    static constexpr std::size_t kMostSlots = 64;

    static constexpr std::size_t SlotsFor(std::size_t bytes) { return (bytes + kSlotSize - 1) / kSlotSize; }

    void* TakeLargeBlock(std::size_t bytes) {
        void* const place = ::operator new(sizeof(LargeBlock) + bytes);
        auto* const block = ::new (place) LargeBlock{m_LargeBlocks, &m_LargeBlocks};
        if (block->next != nullptr) block->next->previous = &block->next;
        m_LargeBlocks = block;
        return block + 1;
    }

    static void GiveBackLargeBlock(void* place) noexcept {
        LargeBlock* const block = static_cast<LargeBlock*>(place) - 1;
        *block->previous = block->next;
        if (block->next != nullptr) block->next->previous = block->previous;
        ::operator delete(block);
    }

    void FreeLargeBlocks() noexcept {
        while (LargeBlock* const block = m_LargeBlocks) {
            m_LargeBlocks = block->next;
            ::operator delete(block);
        }
    }

    Arena m_Memory;
    std::array<Slot*, kMostSlots + 1> m_Free{};  // by the number of slots
    LargeBlock* m_LargeBlocks = nullptr;
    OwnerList m_Owners;
    NameList m_Names;
    ParsedTexts m_Texts;
    std::mutex m_NodesMutex;
};

}  // namespace larkspur::json_internal

namespace larkspur {

static_assert(std::max({sizeof(ClkJsonAtomNode), sizeof(ClkJsonObjectNode), sizeof(ClkJsonArrayNode)}) <=
              json_internal::NodePool::kNodeSize);

inline void* ClkJsonNode::operator new(std::size_t, json_internal::NodePool& pool) {
    return pool.Take(json_internal::NodePool::kNodeSize);
}

inline void ClkJsonNode::operator delete(void* place, json_internal::NodePool& pool) noexcept {
    pool.GiveBack(place, json_internal::NodePool::kNodeSize);
}

}  // namespace larkspur

#endif

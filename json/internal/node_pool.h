// Where the nodes of one tree live: equal slots cut from growing chunks, reused when a node goes.
#ifndef QBSVR_JSON_INTERNAL_NODE_POOL_H
#define QBSVR_JSON_INTERNAL_NODE_POOL_H

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

#include "json/json_tree.h"

namespace larkspur::json {

// Used by one thread at a time, like the tree that it belongs to. Must outlive the nodes in it.
class NodePool {
public:
    NodePool() = default;
    NodePool(const NodePool&) = delete;
    NodePool& operator=(const NodePool&) = delete;

    // Room for a node of any kind and the word ahead of it.
    void* Take() {
        if (m_Free != nullptr) return std::exchange(m_Free, m_Free->next);
        if (m_Unused == m_ChunkEnd) AddChunk();
        return m_Unused++;
    }

    void GiveBack(void* place) noexcept {
        Slot* slot = static_cast<Slot*>(place);
        slot->next = m_Free;
        m_Free = slot;
    }

private:
    static constexpr std::size_t kLargestNode =
        std::max({sizeof(ClkJsonAtomNode), sizeof(ClkJsonObjectNode), sizeof(ClkJsonArrayNode)});

    union Slot {
        Slot* next;
        alignas(ClkJsonNode) std::byte bytes[sizeof(NodePool*) + kLargestNode];
    };

    // Chunks double, so that a document of three values is as cheap as one of three million.
    void AddChunk() {
        const std::size_t doublings = std::min<std::size_t>(m_Chunks.size(), 7);
        const std::size_t count = std::size_t{8} << doublings;
        m_Chunks.push_back(std::make_unique_for_overwrite<Slot[]>(count));
        m_Unused = m_Chunks.back().get();
        m_ChunkEnd = m_Unused + count;
    }

    std::vector<std::unique_ptr<Slot[]>> m_Chunks;
    Slot* m_Unused = nullptr;  // of the newest chunk, up to m_ChunkEnd
    Slot* m_ChunkEnd = nullptr;
    Slot* m_Free = nullptr;
};

}  // namespace larkspur::json

#endif

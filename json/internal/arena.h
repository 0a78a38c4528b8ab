// Memory that is only returned as a whole.
#ifndef QBSVR_JSON_INTERNAL_ARENA_H
#define QBSVR_JSON_INTERNAL_ARENA_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "json/internal/large_block.h"

namespace larkspur::json_internal {

// Chunks double in size, so that small and large documents cost the same per value.
class Arena {
public:
    // Room for n elements, of which Take then takes the first ones.
    template <class T>
    T* Room(std::size_t n) {
        constexpr std::uintptr_t kMask = alignof(T) - 1;
        const std::size_t padding = -reinterpret_cast<std::uintptr_t>(m_Unused) & kMask;
        const std::size_t bytes = padding + n * sizeof(T);
        if (static_cast<std::size_t>(m_End - m_Unused) < bytes) {
            AddChunk(bytes);
        } else {
            m_Unused += padding;
        }
        return reinterpret_cast<T*>(m_Unused);
    }
    template <class T>
    void Take(std::size_t n) {
        m_Unused += n * sizeof(T);
    }

    // Takes all memory back. Keeps the newest chunk, which is about half of it, for the next document.
    void Reset() noexcept {
        if (m_Chunks.empty()) return;
        m_Chunks.front().swap(m_Chunks.back());
        m_Chunks.erase(m_Chunks.begin() + 1, m_Chunks.end());
        m_Unused = m_Chunks.front().get();
    }

private:
    struct Free {
        bool isLargeBlock;
        void operator()(std::byte* chunk) const {
            if (isLargeBlock) {
                LargeBlocks::GiveBack(chunk);
            } else {
                delete[] chunk;
            }
        }
    };
    using Chunk = std::unique_ptr<std::byte[], Free>;

    static constexpr std::size_t kFirstChunk = 1024;
    static constexpr std::size_t kLargestChunk = LargeBlocks::kSize;

    void AddChunk(std::size_t bytes) {
        const bool isLargeBlock = m_ChunkSize == LargeBlocks::kSize && bytes <= m_ChunkSize;
        const std::size_t size = std::max(bytes, m_ChunkSize);
        Chunk chunk(isLargeBlock ? static_cast<std::byte*>(LargeBlocks::Take()) : new std::byte[size],
                    Free{isLargeBlock});
        m_Chunks.push_back(std::move(chunk));
        m_Unused = m_Chunks.back().get();
        m_End = m_Unused + size;
        m_ChunkSize = std::min(2 * m_ChunkSize, kLargestChunk);
    }

    std::vector<Chunk> m_Chunks;
    std::size_t m_ChunkSize = kFirstChunk;  // of the next one
    std::byte* m_Unused = nullptr;          // of the newest chunk, up to m_End
    std::byte* m_End = nullptr;
};

}  // namespace larkspur::json_internal

#endif

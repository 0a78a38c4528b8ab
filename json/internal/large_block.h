// Large blocks of memory in huge pages.
#ifndef QBSVR_JSON_INTERNAL_LARGE_BLOCK_H
#define QBSVR_JSON_INTERNAL_LARGE_BLOCK_H

#include <sys/mman.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>

namespace larkspur::json_internal {

// A large document would spend more time in page faults than in its parser. Huge pages need few of them, and
// some spare blocks, which all threads share, save the others from the second document on.
class LargeBlocks {
public:
    static constexpr std::size_t kSize = std::size_t{8} << 20;

    static void* Take() {
        for (std::atomic<void*>& spare : s_Spares) {
            if (spare.load(std::memory_order_relaxed) == nullptr) continue;
            if (void* const block = spare.exchange(nullptr, std::memory_order_acquire)) return block;
        }
        return Map();
    }

    static void GiveBack(void* block) noexcept {
        for (std::atomic<void*>& spare : s_Spares) {
            if (spare.load(std::memory_order_relaxed) != nullptr) continue;
            block = spare.exchange(block, std::memory_order_acq_rel);
            if (block == nullptr) return;
        }
        munmap(block, kSize);
    }

private:
    static constexpr std::size_t kHugePage = std::size_t{2} << 20;

    // Aligned to a huge page.
    static void* Map() {
        constexpr std::size_t kMapped = kSize + kHugePage;
        void* const mapped =
            mmap(nullptr, kMapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (mapped == MAP_FAILED) throw std::bad_alloc();
        auto* const begin = static_cast<std::byte*>(mapped);
        const std::size_t before = -reinterpret_cast<std::uintptr_t>(mapped) % kHugePage;
        if (before != 0) munmap(begin, before);
        if (before != kHugePage) munmap(begin + before + kSize, kHugePage - before);
        madvise(begin + before, kSize, MADV_HUGEPAGE);
        return begin + before;
    }

    static inline std::array<std::atomic<void*>, 4> s_Spares{};
};

}  // namespace larkspur::json_internal

#endif

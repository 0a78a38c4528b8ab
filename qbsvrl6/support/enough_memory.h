// Protection from C libraries that mishandle a lack of memory. Some continue and return wrong results: boxes
// instead of letters, half a list of fonts.
#ifndef QBSVR_QBSVRL6_SUPPORT_ENOUGH_MEMORY_H
#define QBSVR_QBSVRL6_SUPPORT_ENOUGH_MEMORY_H

#include <cerrno>
#include <cstddef>
#include <memory>
#include <new>
#include <vector>

#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

// Returns the result of an attempt in which every allocation succeeded; raises std::bad_alloc if allocations
// fail in two attempts. Each attempt must start from the beginning and make no system call that can fail. The
// second one is for allocators that set errno and then find memory elsewhere. An EngineError of an attempt
// without enough memory does not mean an error in the input, and is not passed on.
template <class Step>
auto withEnoughMemory(Step step) {
    const int before = errno;  // steps may be nested
    for (int attempt = 1;; ++attempt) {
        errno = 0;
        try {
            auto result = step();
            if (errno != ENOMEM) {
                errno = before;
                return result;
            }
        } catch (const EngineError&) {
            if (errno != ENOMEM) throw;
        }
        if (attempt == 2) throw std::bad_alloc();
    }
}

// For C libraries that end or corrupt the process if memory runs out. Reserves a megabyte before they are
// called: blocks that the constructor frees again, below one that prevents their return to the system. Larger
// ones would not come from the heap.
class MemoryAtHand {
public:
    MemoryAtHand() {
        constexpr std::size_t kBlocks = 10, kBlockBytes = 100 << 10;
        std::vector<std::unique_ptr<char[]>> blocks(kBlocks);
        for (auto& block : blocks) block.reset(new char[kBlockBytes]);
        lid_.reset(new char[kBlockBytes]);
    }

private:
    std::unique_ptr<char[]> lid_;
};

}  // namespace qbsvrl6

#endif

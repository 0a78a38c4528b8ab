// Steps of C libraries that go on without memory and then yield less than they should: boxes instead of
// letters, half a list of fonts.
#ifndef QBSVR_QBSVRL6_SUPPORT_ENOUGH_MEMORY_H
#define QBSVR_QBSVRL6_SUPPORT_ENOUGH_MEMORY_H

#include <cerrno>
#include <new>

#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

// The step's result, of an attempt in which every allocation succeeded; std::bad_alloc if two attempts don't.
// Each attempt starts afresh and makes no system call that can fail. The second one is for allocators that set
// errno and then find memory elsewhere. An EngineError of such an attempt says nothing of the input.
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

}  // namespace qbsvrl6

#endif

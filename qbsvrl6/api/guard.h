// What stands around the body of every exported function: no exception leaves the library.
#ifndef QBSVR_QBSVRL6_API_GUARD_H
#define QBSVR_QBSVRL6_API_GUARD_H

#include <string_view>
#include <utility>

namespace qbsvrl6 {

// Writes the exception in flight to the log, as the cause why `function` failed.
void logCaughtException(std::string_view function) noexcept;

// The body's result; `failure`, and a line in the log, where it raises.
template <class Result, class Body>
Result guarded(const char* function, Result failure, Body&& body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        logCaughtException(function);
        return failure;
    }
}

template <class Body>
void guarded(const char* function, Body&& body) noexcept {
    try {
        std::forward<Body>(body)();
    } catch (...) {
        logCaughtException(function);
    }
}

}  // namespace qbsvrl6

#endif

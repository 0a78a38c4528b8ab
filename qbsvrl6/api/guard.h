// What encloses the body of every exported function: no exception leaves the library, and a null handle
// fails.
#ifndef QBSVR_QBSVRL6_API_GUARD_H
#define QBSVR_QBSVRL6_API_GUARD_H

#include <string_view>
#include <type_traits>
#include <utility>

#include "qbsvrl6/api/handles.h"

namespace qbsvrl6 {

// Writes the exception in flight to the log, as the cause why `function` failed.
void logCaughtException(std::string_view function) noexcept;

// The body's result; if it raises, `failure` and a line in the log.
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

// The result of the body, which is given the object of the handle; `failure` for a null handle and if it
// raises.
template <class Handle, class Result, class Body>
Result withObjectOr(const char* function, Handle* handle, Result failure, Body&& body) noexcept {
    return guarded(function, failure, [&]() -> Result {
        auto* const object = fromHandle(handle);
        return object == nullptr ? failure : std::forward<Body>(body)(*object);
    });
}

// The same with null, zero or nothing as the failure.
template <class Handle, class Body>
auto withObject(const char* function, Handle* handle, Body&& body) noexcept {
    using Result = std::invoke_result_t<Body&, decltype(*fromHandle(handle))>;
    if constexpr (std::is_void_v<Result>) {
        guarded(function, [&] {
            if (auto* const object = fromHandle(handle)) body(*object);
        });
    } else {
        return withObjectOr(function, handle, Result{}, std::forward<Body>(body));
    }
}

}  // namespace qbsvrl6

#endif

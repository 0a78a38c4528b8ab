// Guards around the body of every exported function: no exception leaves the library, and a handle that is
// null or unknown means failure.
#ifndef QBSVR_QBSVRL6_API_GUARD_H
#define QBSVR_QBSVRL6_API_GUARD_H

#include <string_view>
#include <type_traits>
#include <utility>

#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/support/messages.h"

namespace qbsvrl6 {

// Logs the current exception as the cause of the failure of `function`.
void logCaughtException(std::string_view function) noexcept;

// Returns the body's result. If the body raises, logs the exception and returns `failure`.
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

// What the last call of a function without a report has logged, on this thread.
Messages& processMessages();

// As guarded, for a function that QBXGetLastError is about.
template <class Result, class Body>
Result guardedForProcess(const char* function, Result failure, Body&& body) noexcept {
    Messages& messages = processMessages();
    messages.clear();
    const MessagesScope scope(messages);
    return guarded(function, failure, std::forward<Body>(body));
}

// Calls the body with the object, and with the runtime that it belongs to if the body wants to know it.
template <class Object, class Body>
decltype(auto) callWith(Object& object, Runtime& owner, Body& body) {
    if constexpr (std::is_invocable_v<Body&, Object&, Runtime&>) {
        return body(object, owner);
    } else {
        return body(object);
    }
}

// Calls the body with the object of the handle (see callWith) and returns its result; returns `failure` for a
// handle that reads as null and if the body raises.
template <class Handle, class Result, class Body>
Result withObjectOr(const char* function, Handle* handle, Result failure, Body&& body) noexcept {
    Runtime* const owner = ownerOf(handle);
    if (owner == nullptr) return failure;
    const MessagesScope messages(owner->messages);
    return guarded(function, failure, [&]() -> Result {
        return callWith(*reinterpret_cast<ObjectBehind<Handle>*>(handle), *owner, body);
    });
}

// The same, with null, zero or nothing as `failure`.
template <class Handle, class Body>
auto withObject(const char* function, Handle* handle, Body&& body) noexcept {
    using Object = ObjectBehind<Handle>;
    using Result = decltype(callWith(std::declval<Object&>(), std::declval<Runtime&>(), body));
    if constexpr (std::is_void_v<Result>) {
        Runtime* const owner = ownerOf(handle);
        if (owner == nullptr) return;
        const MessagesScope messages(owner->messages);
        guarded(function, [&] { callWith(*reinterpret_cast<Object*>(handle), *owner, body); });
    } else {
        return withObjectOr(function, handle, Result{}, std::forward<Body>(body));
    }
}

}  // namespace qbsvrl6

#endif

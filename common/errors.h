// The library's one exception class and its one lock.
#ifndef QBSVR_COMMON_ERRORS_H
#define QBSVR_COMMON_ERRORS_H

#include <cstddef>
#include <exception>
#include <mutex>

#include "common/text.h"

namespace larkspur {

// Selects the fixed text of an exception. Other values are allowed and have the text of std::exception.
enum LKExceptionType : int {
    LKExceptionNone = 0,
    LKExceptionArgument = 1,       // "function argument invalid"
    LKExceptionFunction = 2,       // "function failed"
    LKExceptionFileNameNull = 3,   // "file name null"
    LKExceptionFileOpenRead = 4,   // "open file failed for read"
    LKExceptionFileRead = 5,       // "read file failed"
    LKExceptionFileOpenWrite = 6,  // "open file failed for write"
    LKExceptionFileWrite = 7,      // "write file failed"
    LKExceptionFileMemory = 8,     // "memory leak on file read or write"
    LKExceptionJson = 9,           // "phase json failed"
};

class ClkException : public std::exception {
public:
    // A null hint is an empty one. The bytes of an 8-bit hint are sign-extended.
    ClkException(LKExceptionType type, const char* hint);
    ClkException(LKExceptionType type, const lkchar* hint);
    explicit ClkException(LKExceptionType type, std::nullptr_t = nullptr);
    ~ClkException() override;

    // "Occured <fixed text>, hint text: <hint in UTF-8>"; the hint part only if there is a hint. The text is
    // built on each call and is valid until the next call on this thread, for any exception.
    const char* what() const noexcept override;

    LKExceptionType Type() const { return m_Type; }
    const lkstr& HintText() const { return m_HintText; }

private:
    LKExceptionType m_Type;
    lkstr m_HintText;

    static thread_local str m_s_v_WhatText;
};

// Holds the library's process-wide lock for a scope. The lock is not recursive.
class ClkAutoMutex {
public:
    ClkAutoMutex();
    ~ClkAutoMutex();
    ClkAutoMutex(const ClkAutoMutex&) = delete;
    ClkAutoMutex& operator=(const ClkAutoMutex&) = delete;

private:
    static std::mutex m_s_metux;
};

}  // namespace larkspur

#endif

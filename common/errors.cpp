#include "common/errors.h"

#include <iterator>

namespace larkspur {

// One buffer per thread, so that two threads that fail at the same time don't race.
thread_local str ClkException::m_s_v_WhatText;
std::mutex ClkAutoMutex::m_s_metux;

namespace {

constexpr const char* kTypeTexts[] = {
    "",
    "function argument invalid",
    "function failed",
    "file name null",
    "open file failed for read",
    "read file failed",
    "open file failed for write",
    "write file failed",
    "memory leak on file read or write",
    "phase json failed",
};

}  // namespace

ClkException::ClkException(LKExceptionType type, const char* hint)
    : m_Type(type), m_HintText(lkstr_fromascii(hint)) {}

ClkException::ClkException(LKExceptionType type, const lkchar* hint)
    : m_Type(type), m_HintText(hint == nullptr ? gc_lkchar_empty : hint) {}

ClkException::ClkException(LKExceptionType type, std::nullptr_t) : m_Type(type) {}

ClkException::~ClkException() = default;

const char* ClkException::what() const noexcept {
    const auto index = static_cast<unsigned int>(m_Type);
    m_s_v_WhatText = "Occured ";
    m_s_v_WhatText += index < std::size(kTypeTexts) ? kTypeTexts[index] : std::exception::what();
    if (!m_HintText.empty()) {
        m_s_v_WhatText += ", hint text: ";
        m_s_v_WhatText += UnicodeTextToPrintf(m_HintText);
    }
    return m_s_v_WhatText.c_str();
}

ClkAutoMutex::ClkAutoMutex() { m_s_metux.lock(); }
ClkAutoMutex::~ClkAutoMutex() { m_s_metux.unlock(); }

}  // namespace larkspur

// Names of members. A list of similar objects has few different names, so members share the text of equal
// names.
#ifndef QBSVR_JSON_INTERNAL_SHARED_NAME_H
#define QBSVR_JSON_INTERNAL_SHARED_NAME_H

#include <cstddef>
#include <utility>

#include "common/text.h"
#include "json/json_tree.h"

namespace larkspur::json_internal {

// Derived from the text type, so that a member's reference to the text leads to the count.
struct SharedName : lkstr {
    SharedName(const lkchar* text, std::size_t n) : lkstr(text, n) {}
    std::size_t owners = 1;
};

// A counted reference to a name. The count is not atomic: all owners belong to one tree or to the parser that
// builds it.
class NameRef {
public:
    NameRef() = default;
    NameRef(const lkchar* text, std::size_t n) : m_Name(new SharedName(text, n)) {}
    NameRef(const NameRef& other) noexcept : m_Name(other.m_Name) {
        if (m_Name != nullptr) ++m_Name->owners;
    }
    NameRef(NameRef&& other) noexcept : m_Name(std::exchange(other.m_Name, nullptr)) {}
    NameRef& operator=(NameRef other) noexcept {
        std::swap(m_Name, other.m_Name);
        return *this;
    }
    ~NameRef() {
        if (m_Name != nullptr && --m_Name->owners == 0) delete m_Name;
    }

    // Null when it owns nothing.
    const lkstr* Get() const { return m_Name; }

    // Release passes the ownership to the returned reference; Adopt takes it back.
    const lkstr& Release() { return *std::exchange(m_Name, nullptr); }
    static NameRef Adopt(const lkstr& released) {
        NameRef name;
        name.m_Name = const_cast<SharedName*>(static_cast<const SharedName*>(&released));
        return name;
    }

private:
    SharedName* m_Name = nullptr;
};

}  // namespace larkspur::json_internal

namespace larkspur {

// A member that was moved from owns neither node nor name.
inline ClkJsonMember::ClkJsonMember(json_internal::NameRef&& name, std::unique_ptr<ClkJsonNode> node) noexcept
    : first(name.Release()), second(std::move(node)) {}

}  // namespace larkspur

#endif

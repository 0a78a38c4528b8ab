// Names of members. A list of similar objects has few different names, so members share the text of equal
// names.
#ifndef QBSVR_JSON_INTERNAL_SHARED_NAME_H
#define QBSVR_JSON_INTERNAL_SHARED_NAME_H

#include <cstddef>
#include <utility>

#include "common/text.h"
#include "json/json_tree.h"

namespace larkspur::json_internal {

// The names of a tree, linked in a ring.
class NameList {
public:
    // Derived from the text type, so that a member's reference to the text leads to the count.
    struct Name : lkstr {
        Name(const lkchar* text, std::size_t n) : lkstr(text, n) {}
        std::size_t owners = 1;
        Name* previous = nullptr;
        Name* next = nullptr;
    };

    NameList() = default;
    NameList(const NameList&) = delete;
    NameList& operator=(const NameList&) = delete;
    ~NameList() { Clear(); }

    Name* Add(const lkchar* text, std::size_t n) {
        auto* const name = new Name(text, n);
        name->previous = &m_Ring;
        name->next = m_Ring.next;
        name->next->previous = m_Ring.next = name;
        return name;
    }

    static void Remove(Name* name) noexcept {
        name->previous->next = name->next;
        name->next->previous = name->previous;
        delete name;
    }

    // Whoever owns a name must have forgotten it.
    void Clear() noexcept {
        while (m_Ring.next != &m_Ring) {
            Name* const name = m_Ring.next;
            m_Ring.next = name->next;
            delete name;
        }
        m_Ring.previous = &m_Ring;
    }

private:
    struct Ring : Name {
        Ring() : Name(gc_lkchar_empty, 0) { previous = next = this; }
    };

    Ring m_Ring;
};

// A counted reference to a name. The count is not atomic: all owners belong to one tree or to the parser that
// builds it.
class NameRef {
public:
    NameRef() = default;
    NameRef(NameList& names, const lkchar* text, std::size_t n) : m_Name(names.Add(text, n)) {}
    NameRef(const NameRef& other) noexcept : m_Name(other.m_Name) {
        if (m_Name != nullptr) ++m_Name->owners;
    }
    NameRef(NameRef&& other) noexcept : m_Name(std::exchange(other.m_Name, nullptr)) {}
    NameRef& operator=(NameRef other) noexcept {
        std::swap(m_Name, other.m_Name);
        return *this;
    }
    ~NameRef() {
        if (m_Name != nullptr && --m_Name->owners == 0) NameList::Remove(m_Name);
    }

    // Null when it owns nothing.
    const lkstr* Get() const { return m_Name; }

    // Release passes the ownership to the returned reference; Adopt takes it back.
    const lkstr& Release() { return *std::exchange(m_Name, nullptr); }
    static NameRef Adopt(const lkstr& released) {
        NameRef name;
        name.m_Name = const_cast<NameList::Name*>(static_cast<const NameList::Name*>(&released));
        return name;
    }

private:
    NameList::Name* m_Name = nullptr;
};

}  // namespace larkspur::json_internal

namespace larkspur {

// A member that was moved from owns neither node nor name.
inline ClkJsonMember::ClkJsonMember(json_internal::NameRef&& name, std::unique_ptr<ClkJsonNode> node) noexcept
    : first(name.Release()), second(std::move(node)) {}

}  // namespace larkspur

#endif

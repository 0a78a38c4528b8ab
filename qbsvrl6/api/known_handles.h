// The set of handles that programs have received, so that handles of destroyed objects, or of another type,
// read as null.
#ifndef QBSVR_QBSVRL6_API_KNOWN_HANDLES_H
#define QBSVR_QBSVRL6_API_KNOWN_HANDLES_H

#include <vector>

namespace qbsvrl6 {

struct Runtime;

struct KnownHandle {
    const void* object = nullptr;
    const void* kind = nullptr;  // differs between types of handles
    bool operator==(const KnownHandle&) const = default;
};

// The runtime of the report that the object belongs to; null for an unknown handle. Safe from any thread, as
// are the lists below; threads rarely wait for each other's locks.
Runtime* ownerOfHandle(KnownHandle handle) noexcept;

// Handles that become invalid together. They are known as long as they are in the list.
class HandleList {
public:
    explicit HandleList(Runtime& owner) : owner_(owner) {}
    ~HandleList() { clear(); }
    HandleList(const HandleList&) = delete;
    HandleList& operator=(const HandleList&) = delete;

    void add(KnownHandle handle);
    void clear() noexcept;

private:
    Runtime& owner_;
    std::vector<KnownHandle> handles_;
};

}  // namespace qbsvrl6

#endif

#include "qbsvrl6/api/known_handles.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <unordered_map>

namespace qbsvrl6 {

namespace {

struct Hash {
    std::size_t operator()(const KnownHandle& handle) const {
        const std::hash<const void*> hash;
        return hash(handle.object) * 31 + hash(handle.kind);
    }
};

struct alignas(64) Shard {
    std::mutex mutex;
    std::unordered_map<KnownHandle, Runtime*, Hash> owners;
};

// Never destroyed: callers may release reports while the process ends.
Shard& shardOf(const KnownHandle& handle) {
    static auto* const shards = new std::array<Shard, 32>;
    // The lower bits of addresses hardly differ.
    return (*shards)[(reinterpret_cast<std::uintptr_t>(handle.object) >> 6) % shards->size()];
}

}  // namespace

Runtime* ownerOfHandle(KnownHandle handle) noexcept {
    Shard& shard = shardOf(handle);
    const std::lock_guard lock(shard.mutex);
    const auto known = shard.owners.find(handle);
    return known == shard.owners.end() ? nullptr : known->second;
}

void HandleList::add(KnownHandle handle) {
    handles_.push_back(handle);
    try {
        Shard& shard = shardOf(handle);
        const std::lock_guard lock(shard.mutex);
        if (shard.owners.emplace(handle, &owner_).second) return;
    } catch (...) {
        handles_.pop_back();
        throw;
    }
    handles_.pop_back();  // known before
}

void HandleList::clear() noexcept {
    for (const KnownHandle& handle : handles_) {
        Shard& shard = shardOf(handle);
        const std::lock_guard lock(shard.mutex);
        shard.owners.erase(handle);
    }
    handles_.clear();
}

}  // namespace qbsvrl6

#include "qbsvrl6/api/live_reports.h"

#include <array>
#include <cstdint>
#include <mutex>
#include <unordered_set>

namespace qbsvrl6 {

namespace {

struct alignas(64) Shard {
    std::mutex mutex;
    std::unordered_set<const Report*> reports;
};

// Never destroyed: callers may release reports while the process ends.
Shard& shardOf(const Report* report) {
    static auto* const shards = new std::array<Shard, 32>;
    // The lower bits of addresses hardly differ.
    return (*shards)[(reinterpret_cast<std::uintptr_t>(report) >> 6) % shards->size()];
}

}  // namespace

void addLiveReport(const Report* report) {
    Shard& shard = shardOf(report);
    const std::lock_guard lock(shard.mutex);
    shard.reports.insert(report);
}

void removeLiveReport(const Report* report) noexcept {
    Shard& shard = shardOf(report);
    const std::lock_guard lock(shard.mutex);
    shard.reports.erase(report);
}

bool isLiveReport(const Report* report) noexcept {
    Shard& shard = shardOf(report);
    const std::lock_guard lock(shard.mutex);
    return shard.reports.contains(report);
}

}  // namespace qbsvrl6

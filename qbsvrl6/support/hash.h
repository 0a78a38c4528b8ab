// Hashes for tables in memory. They may change between versions.
#ifndef QBSVR_QBSVRL6_SUPPORT_HASH_H
#define QBSVR_QBSVRL6_SUPPORT_HASH_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qbsvrl6 {

inline constexpr std::uint64_t kHashFactor = 0x9E3779B97F4A7C15u;  // 2^64 divided by the golden ratio

// The high bits are mixed best: take the slot of a small table from them.
constexpr void mixHash(std::size_t& hash, std::size_t value) { hash = (hash ^ value) * kHashFactor; }

// Hashes eight bytes at a time.
inline std::uint64_t hashBytes(const void* bytes, std::size_t count) {
    const auto* at = static_cast<const unsigned char*>(bytes);
    std::uint64_t hash = count * kHashFactor;
    const auto mix = [&hash](std::uint64_t block) {
        hash = (hash ^ block) * kHashFactor;
        hash ^= hash >> 29;
    };
    std::uint64_t block = 0;
    for (; count >= sizeof block; count -= sizeof block, at += sizeof block) {
        std::memcpy(&block, at, sizeof block);
        mix(block);
    }
    block = 0;
    if (count > 0) std::memcpy(&block, at, count);
    mix(block);
    return hash;
}

}  // namespace qbsvrl6

#endif

// Hashes for tables in memory. They may change between versions.
#ifndef QBSVR_QBSVRL6_SUPPORT_HASH_H
#define QBSVR_QBSVRL6_SUPPORT_HASH_H

#include <cstddef>
#include <cstdint>

namespace qbsvrl6 {

inline constexpr std::uint64_t kHashFactor = 0x9E3779B97F4A7C15u;  // 2^64 divided by the golden ratio

// The high bits are mixed best: take the slot of a small table from them.
constexpr void mixHash(std::size_t& hash, std::size_t value) { hash = (hash ^ value) * kHashFactor; }

}  // namespace qbsvrl6

#endif

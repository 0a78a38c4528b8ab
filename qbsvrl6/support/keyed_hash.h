// Hashes of names and values of data. They depend on a random key of the process: otherwise, data could be
// made of names that all have one hash, and a table of them would take quadratic time.
#ifndef QBSVR_QBSVRL6_SUPPORT_KEYED_HASH_H
#define QBSVR_QBSVRL6_SUPPORT_KEYED_HASH_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace qbsvrl6 {

std::uint64_t firstKeyedHash();
// The hash after one more value of a sequence.
std::uint64_t nextKeyedHash(std::uint64_t hash, std::uint64_t value);

struct KeyedHash {
    std::size_t operator()(std::string_view text) const;
    std::size_t operator()(std::u16string_view text) const;
};

}  // namespace qbsvrl6

#endif

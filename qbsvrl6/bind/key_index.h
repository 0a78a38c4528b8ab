// Rows by a value: for filters such as "OrderId = Id" and for lookups. Without it, a sub-report or lookup in
// each row of a long table would test all rows of its table each time.
#ifndef QBSVR_QBSVRL6_BIND_KEY_INDEX_H
#define QBSVR_QBSVRL6_BIND_KEY_INDEX_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "qbsvrl6/data/table.h"

namespace qbsvrl6 {

// Holds hashes of the values only: 8 bytes per row and at most 4 for the buckets, which count in the budget
// of the export.
class KeyIndex {
public:
    // The value of a row; its text lives until the next call.
    using ValueOf = std::function<Value(std::size_t row)>;

    KeyIndex(std::size_t rows, const ValueOf& valueOf);

    // A superset of the rows whose value equals this one, ascending; nothing if all rows may.
    std::optional<std::vector<std::uint32_t>> candidates(const Value& value) const;

private:
    struct Entry {
        std::uint32_t hash = 0;  // its lower half
        std::uint32_t row = 0;
    };
    std::size_t bucketOf(std::uint64_t hash) const { return shift_ == 64 ? 0 : hash >> shift_; }

    bool isComplete_ = true;  // all values have keys
    int shift_ = 64;
    std::vector<std::uint32_t> starts_;  // by bucket
    std::vector<Entry> entries_;
};

}  // namespace qbsvrl6

#endif

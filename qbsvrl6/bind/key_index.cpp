#include "qbsvrl6/bind/key_index.h"

#include <bit>
#include <string>

#include "qbsvrl6/bind/values.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/keyed_hash.h"

namespace qbsvrl6 {

namespace {

// Values that compare as equal have the same key, and some others have it as well. Returns false for values
// without a key: a boolean equals any number but 0.
bool keyOf(const Value& value, std::u16string& key) {
    Number number;
    std::int64_t date = 0;
    key.clear();
    if (value.type == ValueType::Boolean) return false;
    if (toNumber(value, number)) {
        key = u'n';
        number.appendKey(key);
    } else if (toDate(value, date)) {
        key = u'd';
        Number(date).appendKey(key);
    } else if (!value.isNull() && !value.text.empty()) {
        key = u't';
        key += value.text;
    }
    return true;
}

std::uint64_t hashOf(const std::u16string& key) { return KeyedHash()(std::u16string_view(key)); }

}  // namespace

KeyIndex::KeyIndex(std::size_t rows, const ValueOf& valueOf) {
    const std::size_t buckets = std::bit_floor(rows | 1);
    shift_ = 64 - std::countr_zero(buckets);
    spend(&Budget::dataBytes, rows * sizeof(Entry) + (buckets + 1) * sizeof(std::uint32_t), "an index");
    std::vector<std::uint64_t> hashes;
    checkLeft(&Budget::dataBytes, rows * sizeof(std::uint64_t), "an index");
    hashes.reserve(rows);
    starts_.resize(buckets + 1);
    std::u16string key;
    for (std::size_t row = 0; row < rows; ++row) {
        goOn();
        isComplete_ = keyOf(valueOf(row), key);
        if (!isComplete_) return;
        hashes.push_back(hashOf(key));
        ++starts_[bucketOf(hashes.back()) + 1];
    }
    for (std::size_t bucket = 0; bucket < buckets; ++bucket) starts_[bucket + 1] += starts_[bucket];
    entries_.resize(rows);
    std::vector<std::uint32_t> next(starts_);
    for (std::size_t row = 0; row < rows; ++row) {
        entries_[next[bucketOf(hashes[row])]++] = {static_cast<std::uint32_t>(hashes[row]),
                                                   static_cast<std::uint32_t>(row)};
    }
}

std::optional<std::vector<std::uint32_t>> KeyIndex::candidates(const Value& value) const {
    std::u16string key;
    if (!isComplete_ || !keyOf(value, key)) return std::nullopt;
    const std::uint64_t hash = hashOf(key);
    std::vector<std::uint32_t> rows;
    const std::size_t bucket = bucketOf(hash);
    for (std::size_t i = starts_[bucket]; i < starts_[bucket + 1]; ++i) {
        if (entries_[i].hash == static_cast<std::uint32_t>(hash)) rows.push_back(entries_[i].row);
    }
    return rows;
}

}  // namespace qbsvrl6

// The names of the columns of one table.
#ifndef QBSVR_QBSVRL6_DATA_COLUMN_NAMES_H
#define QBSVR_QBSVRL6_DATA_COLUMN_NAMES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace qbsvrl6 {

// A tree of UTF-8 keys: the columns "customer.city" and "customer.name" share "customer", however long it is.
// Equal names are one name, whether a point is between two keys or within one.
class ColumnNames {
public:
    using Id = std::uint32_t;
    static constexpr Id kRow = 0;  // the row itself, which has no name
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    ColumnNames() : names_(1) {}

    // The keys of this record are expected in their order from now on: rows mostly repeat the keys of the row
    // before.
    void beginRecord(Id record) { names_[record].next = 0; }
    // The name of a key within a record, made on first use.
    Id nameOf(Id record, std::string_view key);

    std::size_t columnOf(Id name) const { return names_[name].column; }
    void setColumn(Id name, std::size_t column);

    // The column of this whole name, or npos. Names compare exactly first, then without regard to ASCII case.
    std::size_t findColumn(std::string_view whole) const;
    std::string whole(Id name) const;

private:
    struct Name {
        std::string key;
        std::uint64_t hash = 0;        // of the whole name
        std::uint64_t foldedHash = 0;  // of the whole name in lower case
        std::size_t column = npos;
        std::size_t units = 0;  // of the whole name in UTF-16
        Id record = kRow;
        std::uint32_t position = 0;  // in the record's `keys`
        std::uint32_t next = 0;      // of `keys`: what is expected
        std::vector<Id> keys;
    };
    using Index = std::unordered_multimap<std::uint64_t, Id>;  // by the hash of the whole name

    Id add(Id record, std::string_view key);
    static std::uint64_t hashIn(const Name& record, std::uint64_t hash, std::string_view key);

    std::vector<Name> names_;
    Index exact_;
    Index folded_;  // of columns alone, by names in lower case: the first of those that are then equal
};

}  // namespace qbsvrl6

#endif

// The index of a filter such as "OrderId = Id", which compares a column with a parameter.
#ifndef QBSVR_QBSVRL6_BIND_FILTER_INDEX_H
#define QBSVR_QBSVRL6_BIND_FILTER_INDEX_H

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "qbsvrl6/bind/expression.h"
#include "qbsvrl6/bind/key_index.h"
#include "qbsvrl6/data/table.h"

namespace qbsvrl6 {

class FilterIndex {
public:
    // Null unless the filter compares a column with a parameter by "=", alone or as one of several conditions
    // that "and" joins. The filter outlives the index.
    static std::unique_ptr<FilterIndex> make(const Expression& filter, const Table& rows);

    FilterIndex(const BoundName& parameter, KeyIndex rows) : parameter_(parameter), rows_(std::move(rows)) {}

    const BoundName& parameter() const { return parameter_; }
    // A superset of the rows whose column equals the value, in order; nothing if all rows may.
    std::optional<std::vector<std::uint32_t>> candidates(const Value& value) const {
        return rows_.candidates(value);
    }

private:
    const BoundName& parameter_;
    KeyIndex rows_;
};

}  // namespace qbsvrl6

#endif

// Rows by the value of a column, for filters such as "OrderId = Id". Without it, a sub-report in each row of
// a long table would test all of its own rows each time.
#ifndef QBSVR_QBSVRL6_BIND_FILTER_INDEX_H
#define QBSVR_QBSVRL6_BIND_FILTER_INDEX_H

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "qbsvrl6/bind/expression.h"
#include "qbsvrl6/data/table.h"
#include "qbsvrl6/support/keyed_hash.h"

namespace qbsvrl6 {

class FilterIndex {
public:
    // Null unless the filter compares a column with a parameter by "=", alone or as one of several conditions
    // that "and" joins. The filter outlives the index.
    static std::unique_ptr<FilterIndex> make(const Expression& filter, const Table& rows);

    const BoundName& parameter() const { return *parameter_; }
    // A superset of the rows whose column equals the value, in order; null if the index cannot find all
    // values that compare as equal.
    const std::vector<std::uint32_t>* candidates(const Value& value) const;

private:
    const BoundName* parameter_ = nullptr;
    std::unordered_map<std::u16string, std::vector<std::uint32_t>, KeyedHash> rows_;
    std::vector<std::uint32_t> none_;
};

}  // namespace qbsvrl6

#endif

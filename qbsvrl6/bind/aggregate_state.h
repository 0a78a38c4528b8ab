// A running aggregate over a range of rows.
#ifndef QBSVR_QBSVRL6_BIND_AGGREGATE_STATE_H
#define QBSVR_QBSVRL6_BIND_AGGREGATE_STATE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_set>

#include "qbsvrl6/bind/binding.h"
#include "qbsvrl6/bind/position.h"
#include "qbsvrl6/bind/values.h"
#include "qbsvrl6/support/keyed_hash.h"

namespace qbsvrl6 {

class AggregateState {
public:
    RowRange range;  // rows added so far

    void restart(std::size_t first);
    enum class Added : std::uint8_t {
        Yes,
        Unread,  // no: a number is needed, and the text does not read as one
        Mixed,   // yes: a minimum or maximum is now of numbers and texts
    };
    Added add(AggregateKind kind, const Value& value, TextArena& arena);
    // The first text of a minimum or maximum that does not read as a number.
    std::u16string_view firstText() const { return firstText_; }
    // Whether its numbers are texts too.
    bool areTexts() const { return bestNumber_.get().type == ValueType::Text; }
    void countRow() { ++count_; }
    // Adds the values of another state of the same kind.
    void merge(AggregateKind kind, const AggregateState& other, TextArena& arena);
    // The sum of no values is 0; their average, minimum and maximum are null. The minimum and maximum of
    // texts are numbers if all of them read as numbers; otherwise they are the first and the last value in the
    // order of SortKeys.
    Value result(AggregateKind kind) const;

private:
    void addNumber(const Number& number);
    Added compareWithBest(int wantedOrder, const Value& value, TextArena& arena);
    Number sum() const;

    std::size_t count_ = 0;
    Decimal sum_;
    // The sum of values that are not decimals, or that no longer fit.
    bool hasDoubles_ = false;
    double doubles_ = 0;
    double correction_ = 0;  // the rounding error of `doubles_` (Neumaier)
    // The minimum or maximum: of the values, and of their numbers as long as all of them read as one.
    OwnedValue best_;
    OwnedValue bestNumber_;
    bool areNumbers_ = true;
    bool hasNumbers_ = false;
    std::u16string firstText_;
    std::unordered_set<std::u16string, KeyedHash> distinct_;
};

}  // namespace qbsvrl6

#endif

// A running aggregate over a range of rows.
#ifndef QBSVR_QBSVRL6_BIND_AGGREGATE_STATE_H
#define QBSVR_QBSVRL6_BIND_AGGREGATE_STATE_H

#include <cstddef>
#include <string>
#include <unordered_set>

#include "qbsvrl6/bind/binding.h"
#include "qbsvrl6/bind/position.h"
#include "qbsvrl6/bind/values.h"

namespace qbsvrl6 {

class AggregateState {
public:
    RowRange range;  // rows taken in so far

    void restart(std::size_t first);
    // False, and nothing is added, for a text that is not the number that is needed.
    bool add(AggregateKind kind, const Value& value, TextArena& arena);
    void countRow() { ++count_; }
    // Sum of nothing is 0; average, minimum and maximum of nothing are null. Texts have a least and a greatest
    // number if all of them read as numbers.
    Value result(AggregateKind kind) const;

private:
    void addNumber(const Number& number);
    void compareWithBest(int wantedOrder, const Value& value, TextArena& arena);
    Number sum() const;

    std::size_t count_ = 0;
    Decimal sum_;
    // Of what is no decimal, or no longer fits.
    bool hasDoubles_ = false;
    double doubles_ = 0;
    double correction_ = 0;  // what rounding has cost the sum of doubles (Neumaier)
    // Least or greatest: of the values, and of their numbers as long as all of them have one.
    OwnedValue best_;
    OwnedValue bestNumber_;
    bool areNumbers_ = true;
    std::unordered_set<std::u16string> distinct_;
};

}  // namespace qbsvrl6

#endif

#include "qbsvrl6/bind/aggregate_state.h"

#include <cmath>

namespace qbsvrl6 {

namespace {

// As SortKeys: values of different types compare by their types.
int orderOf(const Value& left, const Value& right, TextArena& arena) {
    if (left.type != right.type) return left.type < right.type ? -1 : 1;
    return compareValues(left, right, arena);
}

// Of values that read as numbers.
int compareNumbers(const Value& left, const Value& right) {
    Number leftRoom;
    Number rightRoom;
    return compare(*numberOf(left, leftRoom), *numberOf(right, rightRoom));
}

}  // namespace

void AggregateState::restart(std::size_t first) {
    *this = {};
    range = {first, first};
}

void AggregateState::addNumber(const Number& number) {
    const Decimal* const decimal = number.decimal();
    if (decimal != nullptr && sum_.add(*decimal)) return;
    const double added = number.toDouble();
    const double sum = doubles_ + added;
    if (std::isfinite(sum)) {
        correction_ +=
            std::fabs(doubles_) >= std::fabs(added) ? (doubles_ - sum) + added : (added - sum) + doubles_;
    }
    doubles_ = sum;
    hasDoubles_ = true;
}

Number AggregateState::sum() const {
    if (!hasDoubles_) return sum_;
    return doubles_ + (correction_ + sum_.toDouble());
}

// Texts that read as numbers are compared as numbers: XML has only texts, and as texts, 9 is greater than 10.
AggregateState::Added AggregateState::compareWithBest(int wantedOrder, const Value& value, TextArena& arena) {
    if (count_ == 0 || orderOf(value, best_.get(), arena) * wantedOrder > 0) best_ = OwnedValue(value);
    if (hasNumbers_ && !firstText_.empty()) return Added::Yes;
    Number room;
    const Number* const number = numberOf(value, room);
    if (number == nullptr) {
        areNumbers_ = false;
        if (value.type == ValueType::Text && firstText_.empty()) firstText_ = value.text;
    } else if (areNumbers_ || !hasNumbers_) {
        if (!hasNumbers_ || compareNumbers(value, bestNumber_.get()) * wantedOrder > 0)
            bestNumber_ = OwnedValue(value);
        hasNumbers_ = true;
    }
    return hasNumbers_ && !firstText_.empty() ? Added::Mixed : Added::Yes;
}

AggregateState::Added AggregateState::add(AggregateKind kind, const Value& value, TextArena& arena) {
    if (value.isNull() || (value.type == ValueType::Text && value.text.empty())) return Added::Yes;
    Added added = Added::Yes;
    Number room;
    const Number* number = nullptr;
    switch (kind) {
        case AggregateKind::Sum:
        case AggregateKind::Average:
            number = numberOf(value, room);
            if (number == nullptr) return Added::Unread;
            addNumber(*number);
            break;
        case AggregateKind::Minimum:
            added = compareWithBest(-1, value, arena);
            break;
        case AggregateKind::Maximum:
            added = compareWithBest(1, value, arena);
            break;
        case AggregateKind::CountDistinct:
            distinct_.insert(distinctKey(value));
            break;
        case AggregateKind::Count:
        case AggregateKind::RowNumber:
            break;
    }
    ++count_;
    return added;
}

void AggregateState::merge(AggregateKind kind, const AggregateState& other, TextArena& arena) {
    const std::size_t count = count_ + other.count_;
    const int wantedOrder = kind == AggregateKind::Minimum ? -1 : 1;
    switch (kind) {
        case AggregateKind::Sum:
        case AggregateKind::Average:
            addNumber(other.sum_);
            if (other.hasDoubles_) addNumber(other.doubles_ + other.correction_);
            break;
        case AggregateKind::Minimum:
        case AggregateKind::Maximum:
            if (other.count_ == 0) break;
            // As texts and as numbers: which of these orders counts depends on the values of both states.
            if (count_ == 0 || orderOf(other.best_.get(), best_.get(), arena) * wantedOrder > 0)
                best_ = other.best_;
            if (other.hasNumbers_ &&
                (!hasNumbers_ ||
                 compareNumbers(other.bestNumber_.get(), bestNumber_.get()) * wantedOrder > 0)) {
                bestNumber_ = other.bestNumber_;
                hasNumbers_ = true;
            }
            areNumbers_ = areNumbers_ && other.areNumbers_;
            if (firstText_.empty()) firstText_ = other.firstText_;
            break;
        case AggregateKind::CountDistinct:
            distinct_.insert(other.distinct_.begin(), other.distinct_.end());
            break;
        case AggregateKind::Count:
        case AggregateKind::RowNumber:
            break;
    }
    count_ = count;
}

Value AggregateState::result(AggregateKind kind) const {
    switch (kind) {
        case AggregateKind::Sum:
            return makeNumber(sum());
        case AggregateKind::Average:
            return count_ == 0 ? Value() : makeNumber(sum() / count_);
        case AggregateKind::Minimum:
        case AggregateKind::Maximum:
            return (areNumbers_ ? bestNumber_ : best_).get();
        case AggregateKind::CountDistinct:
            return makeNumber(distinct_.size());
        case AggregateKind::Count:
        case AggregateKind::RowNumber:
            break;
    }
    return makeNumber(count_);
}

}  // namespace qbsvrl6

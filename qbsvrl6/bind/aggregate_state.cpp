#include "qbsvrl6/bind/aggregate_state.h"

#include <cmath>
#include <cstring>

namespace qbsvrl6 {

namespace {

// Equal values have equal keys, values of different types different ones.
std::u16string distinctKey(const Value& value) {
    std::u16string key(1, static_cast<char16_t>(value.type));
    const auto appendBytes = [&key](const auto& number) {
        char16_t units[sizeof(number) / sizeof(char16_t)];
        std::memcpy(units, &number, sizeof(number));
        key.append(units, std::size(units));
    };
    switch (value.type) {
        case ValueType::Null:
            break;
        case ValueType::Boolean:
            key += value.boolean ? u'1' : u'0';
            break;
        case ValueType::Number:
            appendBytes(value.number + 0.0);  // makes one zero of the two
            break;
        case ValueType::Date:
            appendBytes(value.date);
            break;
        case ValueType::Text:
            key += value.text;
            break;
    }
    return key;
}

}  // namespace

void AggregateState::restart(std::size_t first) {
    *this = {};
    range = {first, first};
}

void AggregateState::addNumber(double number) {
    const double sum = sum_ + number;
    if (std::isfinite(sum)) {
        correction_ += std::fabs(sum_) >= std::fabs(number) ? (sum_ - sum) + number : (number - sum) + sum_;
    }
    sum_ = sum;
}

void AggregateState::add(AggregateKind kind, const Value& value, TextArena& arena) {
    if (value.isNull() || (value.type == ValueType::Text && value.text.empty())) return;
    double number = 0;
    switch (kind) {
        case AggregateKind::Sum:
        case AggregateKind::Average:
            if (!toNumber(value, number)) return;
            addNumber(number);
            break;
        case AggregateKind::Minimum:
            if (count_ == 0 || compareValues(value, best_.get(), arena) < 0) best_ = OwnedValue(value);
            break;
        case AggregateKind::Maximum:
            if (count_ == 0 || compareValues(value, best_.get(), arena) > 0) best_ = OwnedValue(value);
            break;
        case AggregateKind::CountDistinct:
            distinct_.insert(distinctKey(value));
            break;
        case AggregateKind::Count:
        case AggregateKind::RowNumber:
            break;
    }
    ++count_;
}

Value AggregateState::result(AggregateKind kind) const {
    switch (kind) {
        case AggregateKind::Sum:
            return makeNumber(sum_ + correction_);
        case AggregateKind::Average:
            return count_ == 0 ? Value() : makeNumber((sum_ + correction_) / static_cast<double>(count_));
        case AggregateKind::Minimum:
        case AggregateKind::Maximum:
            return best_.get();
        case AggregateKind::CountDistinct:
            return makeNumber(static_cast<double>(distinct_.size()));
        case AggregateKind::Count:
        case AggregateKind::RowNumber:
            break;
    }
    return makeNumber(static_cast<double>(count_));
}

}  // namespace qbsvrl6

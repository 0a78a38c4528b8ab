// One value of data.
#ifndef QBSVR_QBSVRL6_DATA_VALUE_H
#define QBSVR_QBSVRL6_DATA_VALUE_H

#include <cstdint>
#include <string_view>

#include "qbsvrl6/support/number.h"

namespace qbsvrl6 {

enum class ValueType : std::uint8_t { Null, Boolean, Number, Date, Text };

// Small enough to pass by value. `text` is the value as it is written in the data ("1.10", "2024-03-05",
// "12345678901234567890") and as it is shown without a format. It belongs to the table, or to the creator of
// the value.
struct Value {
    ValueType type = ValueType::Null;
    bool boolean = false;
    Number number;
    std::int64_t date = 0;  // seconds since 1970-01-01 of the wall clock, as larkspur::ClkDateTime counts
    std::u16string_view text;

    bool isNull() const { return type == ValueType::Null; }
};

}  // namespace qbsvrl6

#endif

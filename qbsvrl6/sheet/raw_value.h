// Values as programs read them: numbers in their shortest form, dates in that of ISO 8601.
#ifndef QBSVR_QBSVRL6_SHEET_RAW_VALUE_H
#define QBSVR_QBSVRL6_SHEET_RAW_VALUE_H

#include <cstdint>
#include <string>

#include "qbsvrl6/items/item.h"

namespace qbsvrl6 {

// All digits of a decimal; otherwise the shortest text that reads back as the same number, with an exponent
// only if it is very small or very large. The number is finite.
void appendRawNumber(std::string& out, const Number& value);

// Appends "2024-03-05" or "2024-03-05T14:07:09". Returns false for years that do not have four digits.
bool appendRawDate(std::string& out, std::int64_t seconds);

// Appends the value of a number, date or boolean that the item shows. Returns false if the item has no value
// other than its text, or shows nothing.
bool appendRawValue(std::string& out, const Item& item);

}  // namespace qbsvrl6

#endif

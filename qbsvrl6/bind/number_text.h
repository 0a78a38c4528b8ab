// Reads texts of the data as numbers.
#ifndef QBSVR_QBSVRL6_BIND_NUMBER_TEXT_H
#define QBSVR_QBSVRL6_BIND_NUMBER_TEXT_H

#include <string_view>

#include "qbsvrl6/support/number.h"

namespace qbsvrl6 {

// Reads a whole text, with white space around it, in one of two forms:
//
//     plain      [ sign ] digits [ "." digits ] [ exponent ], as in JSON: "12.5", "+5", "1e3"
//     of money   the same without an exponent, in groups of three digits, with a currency sign before or
//                after it, in parentheses for a minus: "1,234.56", "-￥1,234", "(12.50)", "12 €"
//
// A comma is always a thousands separator: "1,23" and "0,123" are not numbers. If the result is false,
// `number` is unchanged.
[[nodiscard]] bool parseNumber(std::u16string_view text, Number& number);

}  // namespace qbsvrl6

#endif

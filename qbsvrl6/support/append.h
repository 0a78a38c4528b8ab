// Appends numbers and colours, for the writers of documents.
#ifndef QBSVR_QBSVRL6_SUPPORT_APPEND_H
#define QBSVR_QBSVRL6_SUPPORT_APPEND_H

#include <string>

#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

// With up to `decimals` decimals, at most 9, and no trailing zeros: "12.5", "-0.25", "0". Never an exponent:
// magnitudes above 1e9 are written as 1e9, and NaN as 0.
void appendNumber(std::string& out, double number, int decimals);

// "#1f3a5f".
void appendColor(std::string& out, const Color& color);

}  // namespace qbsvrl6

#endif

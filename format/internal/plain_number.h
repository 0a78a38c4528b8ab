// The writer of most numbers: digits, separators, "-" or brackets, "%" and literals.
#ifndef QBSVR_FORMAT_INTERNAL_PLAIN_NUMBER_H
#define QBSVR_FORMAT_INTERNAL_PLAIN_NUMBER_H

#include "format/numeric_format.h"

namespace larkspur {

constexpr std::size_t kPlainNumberRoom = 128;

// Writes the value into `buffer`, which has kPlainNumberRoom units, and returns the start of the text, which
// a zero unit ends. Returns null if the section or the value needs the general writer.
const lkchar* WritePlainNumber(double value, const ClkNumericFormatParser::ClkFormatAnalyser& section,
                               lkchar* buffer);

}  // namespace larkspur

#endif

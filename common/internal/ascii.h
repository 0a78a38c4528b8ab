// The digits and letters of ASCII.
#ifndef QBSVR_COMMON_INTERNAL_ASCII_H
#define QBSVR_COMMON_INTERNAL_ASCII_H

#include "common/text.h"

namespace larkspur {

constexpr bool IsAsciiDigit(lkchar c) { return c >= u'0' && c <= u'9'; }
constexpr bool IsAsciiLetter(lkchar c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); }

}  // namespace larkspur

#endif

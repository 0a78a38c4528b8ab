// Numbers as text with a fixed number of digits.
#ifndef QBSVR_COMMON_FIXED_TEXT_H
#define QBSVR_COMMON_FIXED_TEXT_H

#include "common/text.h"

namespace larkspur {

// "%.<digits>f" as in the "C" locale, whatever the locale of the process. Digits are clamped to 0 to 9.
lkstr FormatNumberFixed(double value, int digits);

// FormatNumberFixed without trailing zeros and the "." before them. With 0 digits the zeros of the integer
// itself are removed: 100 gives "1".
lkstr FormatNumberFixed2(double value, int digits);

// The last `width` units of the number, padded with zeros on the left. A minus sign stays next to its digits:
// (-7, 4) gives "00-7".
lkstr FormatIntegerFixed(int value, int width);

// The last `width` hexadecimal digits in upper case, padded with zeros on the left.
lkstr FormatIntegerHexFixed(unsigned int value, int width);

}  // namespace larkspur

#endif

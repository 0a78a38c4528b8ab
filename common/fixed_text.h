// Numbers as text of a fixed number of digits, without a format text.
#ifndef QBSVR_COMMON_FIXED_TEXT_H
#define QBSVR_COMMON_FIXED_TEXT_H

#include "common/text.h"

namespace larkspur {

// "%.<digits>f" as in the "C" locale, whatever the process's locale is. Digits are clamped to 0 to 9.
lkstr FormatNumberFixed(double value, int digits);

// FormatNumberFixed without the zeros at its end and the "." before them. With 0 digits the zeros of the
// integer itself are removed: 100 gives "1".
lkstr FormatNumberFixed2(double value, int digits);

// The last `width` units of the number, filled with zeros on the left. A minus sign stays with its digits:
// (-7, 4) gives "00-7".
lkstr FormatIntegerFixed(int value, int width);

// The last `width` hexadecimal digits in upper case, filled with zeros on the left.
lkstr FormatIntegerHexFixed(unsigned int value, int width);

}  // namespace larkspur

#endif

// Rounding, and numbers as fixed-width text without a format text.
#ifndef QBSVR_FORMAT_NUMBER_HELPERS_H
#define QBSVR_FORMAT_NUMBER_HELPERS_H

#include "common/text.h"

namespace larkspur {

// Rounds half up, towards positive infinity, in plain binary floating point. Digits may be negative.
double round45(double value, int digits);

// Rounds half to even, judged by two fractional digits only: 2.5000001 is a tie. Negative values are cut
// towards zero.
double round465(double value, int digits);

// "%.<digits>f" as in the "C" locale, whatever the process's is; digits held to 0 to 9.
lkstr FormatNumberFixed(double value, int digits);

// As FormatNumberFixed, then without the zeros at the end and a "." before them. With 0 digits the zeros of
// the integer itself go: 100 gives "1".
lkstr FormatNumberFixed2(double value, int digits);

lkstr FormatNumberToEnglish(double value, int digits);  // reserved: always empty

// The last width units of the number, filled with zeros on the left; a minus sign stays at its digits: (-7,
// 4) gives "00-7".
lkstr FormatIntegerFixed(int value, int width);

// The last width hexadecimal digits, upper case, filled with zeros on the left.
lkstr FormatIntegerHexFixed(unsigned int value, int width);

}  // namespace larkspur

#endif

// Rounding to a number of decimals.
#ifndef QBSVR_FORMAT_NUMBER_HELPERS_H
#define QBSVR_FORMAT_NUMBER_HELPERS_H

#include "common/fixed_text.h"  // IWYU pragma: export
#include "common/text.h"

namespace larkspur {

// Rounds half up, towards positive infinity, in plain binary floating point. Digits may be negative.
double round45(double value, int digits);

// Rounds half to even, but considers only two fractional digits: 2.5000001 is a tie. Negative values are cut
// towards zero.
double round465(double value, int digits);

lkstr FormatNumberToEnglish(double value, int digits);  // reserved: always empty

}  // namespace larkspur

#endif

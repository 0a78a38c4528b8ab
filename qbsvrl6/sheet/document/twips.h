// The unit of word processors: a twentieth of a point.
#ifndef QBSVR_QBSVRL6_SHEET_DOCUMENT_TWIPS_H
#define QBSVR_QBSVRL6_SHEET_DOCUMENT_TWIPS_H

#include <cmath>

#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

// Adjacent edges stay equal, since they are converted by one function.
inline int twips(Micrometres length) {
    return static_cast<int>(std::lround(length / kMicrometresPerPoint * 20));
}

}  // namespace qbsvrl6

#endif

// What documents of word processors have in common: lengths at which these differ from paper.
#ifndef QBSVR_QBSVRL6_SHEET_DOCUMENT_WORD_LIMITS_H
#define QBSVR_QBSVRL6_SHEET_DOCUMENT_WORD_LIMITS_H

#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

// Smaller gaps are rounding errors.
inline constexpr Micrometres kLeastGap = 500;
// Space left free on each page: the rows of word processors are slightly higher than ours.
inline constexpr Micrometres kSlack = 4'000;
// The height of an empty header, with some space around it.
inline constexpr Micrometres kLine = 1'000;
// The widest paper that word processors accept: 22 inches.
inline constexpr Micrometres kMaxPaper = 558'800;

}  // namespace qbsvrl6

#endif

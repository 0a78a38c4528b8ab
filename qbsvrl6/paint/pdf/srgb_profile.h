// The colour space of the documents, as an ICC profile.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_SRGB_PROFILE_H
#define QBSVR_QBSVRL6_PAINT_PDF_SRGB_PROFILE_H

#include <string>

namespace qbsvrl6 {

// A display profile of version 2.1 (ICC.1:1998-09) for sRGB as IEC 61966-2-1 defines it: a matrix and one
// curve for its three channels.
const std::string& srgbProfile();

}  // namespace qbsvrl6

#endif

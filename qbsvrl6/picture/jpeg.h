// JPEG files decoded, by libjpeg.
#ifndef QBSVR_QBSVRL6_PICTURE_JPEG_H
#define QBSVR_QBSVRL6_PICTURE_JPEG_H

#include <string_view>

#include "qbsvrl6/picture/pixels.h"

namespace qbsvrl6 {

// Raises EngineError (BadPicture) for a file that can't be read; what is missing at the end of one that is
// cut short is grey. `inverted` is Picture::inverted.
Pixels decodeJpeg(std::string_view file, bool inverted);

}  // namespace qbsvrl6

#endif

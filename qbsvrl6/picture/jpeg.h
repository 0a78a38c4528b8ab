// Decodes JPEG files with libjpeg, and turns those that a camera held sideways.
#ifndef QBSVR_QBSVRL6_PICTURE_JPEG_H
#define QBSVR_QBSVRL6_PICTURE_JPEG_H

#include <string>
#include <string_view>

#include "qbsvrl6/picture/pixels.h"

namespace qbsvrl6 {

// As decodePicture. Raises EngineError: BadPicture for a file that can't be read, LimitExceeded. The missing
// part of a truncated file is grey. `inverted` is Picture::inverted.
Pixels decodeJpeg(std::string_view file, bool inverted, int reduction = 1);

// A JPEG file of the opaque pixels as they are shown: 1 to 8 are the orientations of Exif.
std::string encodeUpright(const Pixels& pixels, int orientation);

}  // namespace qbsvrl6

#endif

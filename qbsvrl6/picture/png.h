// Decodes PNG files with libpng.
#ifndef QBSVR_QBSVRL6_PICTURE_PNG_H
#define QBSVR_QBSVRL6_PICTURE_PNG_H

#include <string>
#include <string_view>

#include "qbsvrl6/picture/pixels.h"

namespace qbsvrl6 {

// As decodePicture. Raises EngineError: BadPicture for a file that can't be read to its end, LimitExceeded.
Pixels decodePng(std::string_view file, int reduction = 1);

// A PNG whose compressed rows other formats can use unchanged: not interlaced and without transparency.
struct PngRows {
    bool usable = false;
    int bitDepth = 8;
    int channels = 3;      // samples per pixel; also 1 with a palette
    std::string palette;   // three bytes per entry; empty if there is none
    std::string deflated;  // the contents of the IDAT chunks
};

// Reads the whole file, so that the result is known to be valid. Raises as decodePng does.
PngRows extractPngRows(std::string_view file);

}  // namespace qbsvrl6

#endif

// PNG files taken apart, by libpng.
#ifndef QBSVR_QBSVRL6_PICTURE_PNG_H
#define QBSVR_QBSVRL6_PICTURE_PNG_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qbsvrl6 {

// Rows from the top, without padding.
struct Pixels {
    int width = 0;
    int height = 0;
    int channels = 3;                 // 1 grey, 3 red green blue; a byte each
    std::vector<std::uint8_t> color;  // width * height * channels
    std::vector<std::uint8_t> alpha;  // width * height; empty where all is opaque
};

// Raises EngineError (BadPicture) for a file that can't be read to its end.
Pixels decodePng(std::string_view file);

// A PNG whose compressed rows other formats can take over as they are: not interlaced and without
// transparency.
struct PngRows {
    bool usable = false;
    int bitDepth = 8;
    int channels = 3;      // samples of a pixel; 1 with a palette too
    std::string palette;   // three bytes an entry; empty where there is none
    std::string deflated;  // the contents of the IDAT chunks
};

// Reads through the whole file, so that what comes back is known to be sound. Raises as decodePng does.
PngRows extractPngRows(std::string_view file);

}  // namespace qbsvrl6

#endif

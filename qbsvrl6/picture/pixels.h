// A decoded picture.
#ifndef QBSVR_QBSVRL6_PICTURE_PIXELS_H
#define QBSVR_QBSVRL6_PICTURE_PIXELS_H

#include <cstdint>
#include <vector>

namespace qbsvrl6 {

struct Picture;

// Rows from the top, without padding.
struct Pixels {
    int width = 0;
    int height = 0;
    int channels = 3;                 // 1 grey, 3 red green blue; one byte each
    std::vector<std::uint8_t> color;  // width * height * channels
    std::vector<std::uint8_t> alpha;  // width * height; empty if all is opaque
};

// Raises EngineError (BadPicture).
Pixels decodePicture(const Picture& picture);

}  // namespace qbsvrl6

#endif

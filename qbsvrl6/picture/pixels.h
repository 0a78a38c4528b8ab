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

inline constexpr int kMostReduction = 128;

// At least 1/reduction of the picture's width and height, for pictures that are drawn smaller than they are;
// less memory, and for JPEG less time. What is decoded counts in the budget of the export. Raises
// EngineError: BadPicture, LimitExceeded.
Pixels decodePicture(const Picture& picture, int reduction = 1);

}  // namespace qbsvrl6

#endif

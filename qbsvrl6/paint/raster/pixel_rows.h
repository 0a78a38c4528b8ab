// Rows of pixels as files store them.
#ifndef QBSVR_QBSVRL6_PAINT_RASTER_PIXEL_ROWS_H
#define QBSVR_QBSVRL6_PAINT_RASTER_PIXEL_ROWS_H

#include <cstddef>
#include <cstdint>

namespace qbsvrl6 {

inline std::size_t packedBytes(int width, bool grey) {
    return static_cast<std::size_t>(width) * (grey ? 1 : 3);
}

// One byte per pixel for grey, otherwise red, green and blue.
inline void packRow(const std::uint32_t* pixels, int width, bool grey, std::uint8_t* to) {
    for (int x = 0; x < width; ++x) {
        const std::uint32_t pixel = pixels[x];
        if (!grey) {
            *to++ = static_cast<std::uint8_t>(pixel >> 16);
            *to++ = static_cast<std::uint8_t>(pixel >> 8);
        }
        *to++ = static_cast<std::uint8_t>(pixel);
    }
}

inline void unpackRow(const std::uint8_t* from, int width, bool grey, std::uint32_t* pixels) {
    for (int x = 0; x < width; ++x, from += grey ? 1 : 3) {
        const std::uint32_t red = from[0];
        pixels[x] = (red << 16) | (std::uint32_t{from[grey ? 0 : 1]} << 8) | from[grey ? 0 : 2];
    }
}

}  // namespace qbsvrl6

#endif

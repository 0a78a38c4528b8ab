// Encoders of image files.
#ifndef QBSVR_QBSVRL6_PAINT_RASTER_IMAGE_ENCODER_H
#define QBSVR_QBSVRL6_PAINT_RASTER_IMAGE_ENCODER_H

#include <cstdint>
#include <memory>
#include <string>

namespace qbsvrl6 {

// Receives images row by row: for each image begin and `height` rows, then finish once. Raises EngineError if
// the format's library fails.
class ImageEncoder {
public:
    virtual ~ImageEncoder() = default;
    // `grey`: the red, green and blue of every pixel are equal.
    virtual void begin(int width, int height, bool grey) = 0;
    virtual void row(const std::uint32_t* pixels) = 0;  // 0x00RRGGBB
    virtual void finish() = 0;
};

// `output` holds the file after finish(). `resolution` is in dots per inch. A PNG holds one image.
std::unique_ptr<ImageEncoder> makePngEncoder(double resolution, std::string& output);
std::unique_ptr<ImageEncoder> makeTiffEncoder(double resolution, std::string& output);

}  // namespace qbsvrl6

#endif

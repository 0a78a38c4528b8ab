// PNG and JPEG files in reports: their bytes, and the properties in their headers.
#ifndef QBSVR_QBSVRL6_PICTURE_PICTURE_H
#define QBSVR_QBSVRL6_PICTURE_PICTURE_H

#include <cstdint>
#include <memory>
#include <string>

namespace qbsvrl6 {

struct Picture {
    enum class Encoding { Jpeg, Png } encoding = Encoding::Png;
    std::string bytes;  // the file, unchanged, or a JPEG that is turned upright
    int pixelWidth = 0;
    int pixelHeight = 0;
    std::string origin;       // its name in messages
    double dotsPerInch = 96;  // from the file
    int channels = 3;         // of a JPEG: 1 grey, 3 colour, 4 CMYK
    bool inverted = false;    // of a JPEG in CMYK: 0 is full ink
    std::uint64_t id = 0;     // the same for equal pictures of an export
};

// Makes a picture from the bytes of a file. Reads only the header, unless its orientation is not upright: errors
// after it are detected when the picture is drawn. `origin` names the source in messages. Raises EngineError:
// BadPicture for anything but PNG and JPEG, LimitExceeded beyond limits::kPictureBytes and
// limits::kPicturePixels.
std::shared_ptr<const Picture> loadPicture(std::string bytes, const std::string& origin);

}  // namespace qbsvrl6

#endif

// PNG and JPEG files in reports: their bytes unchanged, and what their headers say.
#ifndef QBSVR_QBSVRL6_PICTURE_PICTURE_H
#define QBSVR_QBSVRL6_PICTURE_PICTURE_H

#include <cstdint>
#include <memory>
#include <string>

namespace qbsvrl6 {

struct Picture {
    enum class Encoding { Jpeg, Png } encoding = Encoding::Png;
    std::string bytes;  // the file as it was
    int pixelWidth = 0;
    int pixelHeight = 0;
    double dotsPerInch = 96;  // as the file says
    int channels = 3;         // of a JPEG: 1 grey, 3 colour, 4 CMYK
    bool inverted = false;    // of a JPEG in CMYK: 0 is full ink
    std::uint64_t id = 0;     // equal pictures of one export have one id
};

// Makes a picture of a file's bytes. Only the header is read: errors after it are found when the picture is
// drawn. `origin` names the source in messages. Raises EngineError: BadPicture for anything but PNG and
// JPEG, LimitExceeded beyond limits::kPictureBytes and limits::kPicturePixels.
std::shared_ptr<const Picture> loadPicture(std::string bytes, const std::string& origin);

}  // namespace qbsvrl6

#endif

// The bytes of a picture file. It is rejected with EngineError, or has as many pixels as its header declares.
// Compressed rows that a PDF uses directly come from a PNG that can be decoded.
#include <cstdint>
#include <cstdlib>

#include "qbsvrl6/picture/picture.h"
#include "qbsvrl6/picture/pixels.h"
#include "qbsvrl6/picture/png.h"
#include "qbsvrl6/support/error.h"

using namespace qbsvrl6;

namespace {

// Larger ones only take more memory.
constexpr std::int64_t kPixels = 1 << 20;

bool isDecoded(const Picture& picture) {
    try {
        const Pixels pixels = decodePicture(picture);
        const std::size_t count =
            static_cast<std::size_t>(pixels.width) * static_cast<std::size_t>(pixels.height);
        if (pixels.width != picture.pixelWidth || pixels.height != picture.pixelHeight) std::abort();
        if (pixels.color.size() != count * static_cast<std::size_t>(pixels.channels)) std::abort();
        if (!pixels.alpha.empty() && pixels.alpha.size() != count) std::abort();
        return true;
    } catch (const EngineError&) {
        return false;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::shared_ptr<const Picture> picture;
    try {
        picture = loadPicture({reinterpret_cast<const char*>(data), size}, "fuzz");
    } catch (const EngineError&) {
        return 0;
    }
    if (std::int64_t{picture->pixelWidth} * picture->pixelHeight > kPixels) return 0;
    const bool decoded = isDecoded(*picture);
    if (picture->encoding != Picture::Encoding::Png) return 0;
    try {
        if (extractPngRows(picture->bytes).usable && !decoded) std::abort();
    } catch (const EngineError&) {
        if (decoded) std::abort();
    }
    return 0;
}

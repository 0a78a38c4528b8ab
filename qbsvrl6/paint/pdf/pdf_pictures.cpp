#include "qbsvrl6/paint/pdf/pdf_pictures.h"

#include <string>
#include <string_view>

#include "qbsvrl6/paint/pdf/byte_buffer.h"
#include "qbsvrl6/paint/pdf/on_white.h"
#include "qbsvrl6/paint/pdf/pdf_syntax.h"
#include "qbsvrl6/picture/png.h"
#include "qbsvrl6/support/enough_memory.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/log.h"

namespace qbsvrl6 {

namespace {

std::string imageEntries(int width, int height, int bits, std::string_view colorSpace) {
    return "/Type/XObject/Subtype/Image/Width " + std::to_string(width) + "/Height " +
           std::to_string(height) + "/BitsPerComponent " + std::to_string(bits) + "/ColorSpace" +
           std::string(colorSpace);
}

std::string_view deviceSpace(int channels) {
    switch (channels) {
        case 1:
            return "/DeviceGray";
        case 4:
            return "/DeviceCMYK";
        default:
            return "/DeviceRGB";
    }
}

std::string_view viewOf(const std::vector<std::uint8_t>& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

void putOnWhite(Pixels& pixels) {
    const auto channels = static_cast<std::size_t>(pixels.channels);
    for (std::size_t i = 0; i < pixels.alpha.size(); ++i) {
        for (std::size_t part = i * channels; part < (i + 1) * channels; ++part) {
            pixels.color[part] = onWhite(pixels.color[part], pixels.alpha[i]);
        }
    }
    pixels.alpha.clear();
}

}  // namespace

int PdfPictures::use(const Picture& picture) {
    const auto [place, isNew] = written_.try_emplace(picture.id, 0);
    if (isNew) {
        try {
            place->second = write(picture);
        } catch (const EngineError& error) {
            if (error.code() != ErrorCode::BadPicture) throw;
            logWarning("the picture " + picture.origin + " is left out: " + error.what());
        }
    }
    return place->second;
}

int PdfPictures::write(const Picture& picture) {
    return picture.encoding == Picture::Encoding::Jpeg ? writeJpeg(picture) : writePng(picture);
}

// A standard document has the colours of sRGB alone.
int PdfPictures::writeJpeg(const Picture& picture) {
    constexpr int kInks = 4;
    if (picture.channels == kInks && standard_ != PdfStandard::None)
        return writePixels(decodePicture(picture));
    constexpr int kBits = 8;
    std::string entries =
        imageEntries(picture.pixelWidth, picture.pixelHeight, kBits, deviceSpace(picture.channels));
    if (picture.inverted) entries += "/Decode[1 0 1 0 1 0 1 0]";
    const int number = file_.reserve();
    file_.writeStream(number, entries + "/Filter/DCTDecode", picture.bytes, true);
    return number;
}

// The rows of a PNG are already compressed, in the form that PDF calls predictor 15.
int PdfPictures::writePng(const Picture& picture) {
    const PngRows rows = withEnoughMemory([&] { return extractPngRows(picture.bytes); });
    constexpr int kMostBitsOfPart1 = 8;
    if (rows.usable && (partOf(standard_) != 1 || rows.bitDepth <= kMostBitsOfPart1)) {
        std::string space(deviceSpace(rows.channels));
        if (!rows.palette.empty()) {
            ByteBuffer palette;
            appendByteString(palette, rows.palette);
            space = "[/Indexed/DeviceRGB " + std::to_string(rows.palette.size() / 3 - 1) +
                    std::string(palette.view()) + "]";
        }
        const int number = file_.reserve();
        file_.writeStream(number,
                          imageEntries(picture.pixelWidth, picture.pixelHeight, rows.bitDepth, space) +
                              "/Filter/FlateDecode/DecodeParms<</Predictor 15/Colors " +
                              std::to_string(rows.channels) + "/BitsPerComponent " +
                              std::to_string(rows.bitDepth) + "/Columns " +
                              std::to_string(picture.pixelWidth) + ">>",
                          rows.deflated, true);
        return number;
    }
    return writePixels(decodePng(picture.bytes));
}

// PDF/A-1 has no transparency.
int PdfPictures::writePixels(Pixels&& pixels) {
    constexpr int kBits = 8;
    if (partOf(standard_) == 1) putOnWhite(pixels);
    std::string entries = imageEntries(pixels.width, pixels.height, kBits, deviceSpace(pixels.channels));
    if (!pixels.alpha.empty()) {
        const int mask = file_.reserve();
        file_.writeStream(mask, imageEntries(pixels.width, pixels.height, kBits, deviceSpace(1)),
                          viewOf(pixels.alpha));
        entries += "/SMask " + std::to_string(mask) + " 0 R";
    }
    const int number = file_.reserve();
    file_.writeStream(number, entries, viewOf(pixels.color));
    return number;
}

}  // namespace qbsvrl6

#include "qbsvrl6/picture/picture.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>

#include "qbsvrl6/picture/jpeg.h"
#include "qbsvrl6/picture/png.h"
#include "qbsvrl6/support/byte_words.h"
#include "qbsvrl6/support/enough_memory.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"

namespace qbsvrl6 {

namespace {

// Big-endian fields; bytes after the end read as 0.
class Bytes {
public:
    explicit Bytes(std::string_view bytes) : bytes_(bytes) {}

    unsigned u8(std::size_t at) const {
        return at < bytes_.size() ? static_cast<unsigned char>(bytes_[at]) : 0;
    }
    unsigned u16(std::size_t at) const { return (u8(at) << 8) | u8(at + 1); }
    unsigned u32(std::size_t at) const { return (u16(at) << 16) | u16(at + 2); }
    bool holds(std::size_t at, std::string_view text) const {
        return bytes_.substr(std::min(at, size()), text.size()) == text;
    }
    std::size_t size() const { return bytes_.size(); }

private:
    std::string_view bytes_;
};

struct Head {
    Picture::Encoding encoding = Picture::Encoding::Png;
    std::int64_t width = 0;
    std::int64_t height = 0;
    double dotsPerInch = 0;
    int channels = 3;
    bool inverted = false;
    int orientation = 1;  // of Exif: 1 upright
    std::string profile;  // the segments of a colour profile
};

constexpr double kInchesPerMetre = 1 / 0.0254;

// Signature, then chunks of length, name, content and checksum; IHDR is the first, pHYs comes before IDAT.
std::optional<Head> readPng(const Bytes& file) {
    if (!file.holds(0, "\x89PNG\r\n\x1A\n") || !file.holds(12, "IHDR")) return std::nullopt;
    Head head;
    head.width = file.u32(16);
    head.height = file.u32(20);
    for (std::size_t at = 8; at + 12 <= file.size() && !file.holds(at + 4, "IDAT");) {
        const std::size_t length = file.u32(at);
        constexpr unsigned kMetre = 1;
        if (file.holds(at + 4, "pHYs") && file.u8(at + 16) == kMetre) {
            head.dotsPerInch = file.u32(at + 8) / kInchesPerMetre;
        }
        if (length > file.size()) break;
        at += 12 + length;
    }
    return head;
}

// Exif is a TIFF file, in either byte order: the offset of its directory, the number of entries, and these, of
// twelve bytes each: a tag, a type, a count and a value.
int readOrientation(std::string_view exif) {
    constexpr std::string_view kName("Exif\0\0", 6);
    constexpr unsigned kOrientation = 0x0112, kShort = 3;
    constexpr std::size_t kEntry = 12;
    if (!exif.starts_with(kName)) return 1;
    const Bytes tiff(exif.substr(kName.size()));
    const bool isLittle = tiff.holds(0, std::string_view("II*\0", 4));
    if (!isLittle && !tiff.holds(0, std::string_view("MM\0*", 4))) return 1;
    const auto u16 = [&](std::size_t at) {
        return isLittle ? tiff.u8(at) | (tiff.u8(at + 1) << 8) : tiff.u16(at);
    };
    const std::size_t directory = isLittle ? u16(4) | (std::size_t{u16(6)} << 16) : tiff.u32(4);
    const std::size_t end = std::min(directory + 2 + u16(directory) * kEntry, tiff.size());
    for (std::size_t at = directory + 2; at + kEntry <= end; at += kEntry) {
        if (u16(at) != kOrientation || u16(at + 2) != kShort) continue;
        const unsigned value = u16(at + 8);
        return value >= 1 && value <= 8 ? static_cast<int>(value) : 1;
    }
    return 1;
}

// Segments of a marker (FF and a code), a length and content, up to the frame header: C0 to C2 are the types
// of frame that readers of documents support; the others are lossless, hierarchical or arithmetically coded.
std::optional<Head> readJpeg(std::string_view bytes) {
    const Bytes file(bytes);
    if (!file.holds(0, "\xFF\xD8\xFF")) return std::nullopt;
    Head head;
    head.encoding = Picture::Encoding::Jpeg;
    for (std::size_t at = 2; at + 4 <= file.size();) {
        if (file.u8(at) != 0xFF) return std::nullopt;
        const unsigned code = file.u8(at + 1);
        if (code == 0xFF) {  // padding
            ++at;
            continue;
        }
        if (code == 0xE0 && file.holds(at + 4, std::string_view("JFIF\0", 5))) {
            const unsigned unit = file.u8(at + 11);
            if (unit == 1) head.dotsPerInch = file.u16(at + 12);
            if (unit == 2) head.dotsPerInch = file.u16(at + 12) * 2.54;
        }
        const std::string_view content = bytes.substr(at + 4, std::max(file.u16(at + 2), 2u) - 2);
        if (code == 0xE1 && head.orientation == 1) head.orientation = readOrientation(content);
        if (code == 0xE2 && content.starts_with("ICC_PROFILE")) {
            head.profile += bytes.substr(at, 4 + content.size());
        }
        // Programs that write this segment invert the ink.
        if (code == 0xEE && file.holds(at + 4, "Adobe")) head.inverted = true;
        if (code >= 0xC0 && code <= 0xC2) {
            constexpr unsigned kBits = 8;
            head.height = file.u16(at + 5);
            head.width = file.u16(at + 7);
            head.channels = static_cast<int>(file.u8(at + 9));
            const bool known = head.channels == 1 || head.channels == 3 || head.channels == 4;
            head.inverted = head.inverted && head.channels == 4;
            if (file.u8(at + 4) != kBits || !known) return std::nullopt;
            return head;
        }
        const bool otherFrame = code >= 0xC3 && code <= 0xCF && code != 0xC4 && code != 0xC8 && code != 0xCC;
        if (otherFrame || code == 0xD9 || code == 0xDA) return std::nullopt;
        at += 2 + file.u16(at + 2);
    }
    return std::nullopt;
}

// FNV-1a over words of eight bytes.
std::uint64_t hashOf(std::string_view bytes) {
    std::uint64_t hash = 0xCBF29CE484222325u ^ bytes.size();
    forEachWord(bytes, [&hash](std::uint64_t word) {
        hash = (hash ^ word) * 0x100000001B3u;
        hash ^= hash >> 29;
    });
    return hash;
}

// Readers of documents disagree about the orientation, so that no picture has one: the pixels are turned. A
// file that can't be read stays as it is.
void turnUpright(Picture& picture, const Head& head) {
    try {
        const Pixels pixels = decodePicture(picture);
        std::string file = withEnoughMemory([&] { return encodeUpright(pixels, head.orientation); });
        constexpr std::size_t kAfterJfif = 20;  // the start of the file, and its first segment
        if (pixels.channels == picture.channels) file.insert(kAfterJfif, head.profile);
        picture.bytes = std::move(file);
        picture.channels = pixels.channels;
        picture.inverted = false;
        if (head.orientation >= 5) std::swap(picture.pixelWidth, picture.pixelHeight);
    } catch (const EngineError& error) {
        if (error.code() != ErrorCode::BadPicture) throw;
    }
}

}  // namespace

std::shared_ptr<const Picture> loadPicture(std::string bytes, const std::string& origin) {
    if (bytes.size() > limits::kPictureBytes) {
        throw EngineError(ErrorCode::LimitExceeded, "the picture " + origin + " is larger than " +
                                                        std::to_string(limits::kPictureBytes) + " bytes");
    }
    std::optional<Head> head = readPng(Bytes(bytes));
    if (!head) head = readJpeg(bytes);
    if (!head || head->width <= 0 || head->height <= 0) {
        throw EngineError(ErrorCode::BadPicture,
                          "the picture " + origin + " is no PNG or JPEG file that can be read");
    }
    if (head->width > limits::kPicturePixels / head->height) {
        throw EngineError(ErrorCode::LimitExceeded, "the picture " + origin + " has " +
                                                        std::to_string(head->width) + " x " +
                                                        std::to_string(head->height) + " pixels, more than " +
                                                        std::to_string(limits::kPicturePixels));
    }
    auto picture = std::make_shared<Picture>();
    picture->encoding = head->encoding;
    picture->origin = origin;
    picture->pixelWidth = static_cast<int>(head->width);
    picture->pixelHeight = static_cast<int>(head->height);
    const bool plausible = head->dotsPerInch >= 1 && head->dotsPerInch <= 100'000;
    if (plausible) picture->dotsPerInch = head->dotsPerInch;
    picture->channels = head->channels;
    picture->inverted = head->inverted;
    picture->bytes = std::move(bytes);
    if (head->orientation != 1) turnUpright(*picture, *head);
    picture->id = hashOf(picture->bytes);
    return picture;
}

Pixels decodePicture(const Picture& picture, int reduction) {
    return withEnoughMemory([&] {
        return picture.encoding == Picture::Encoding::Png
                   ? decodePng(picture.bytes, reduction)
                   : decodeJpeg(picture.bytes, picture.inverted, reduction);
    });
}

}  // namespace qbsvrl6

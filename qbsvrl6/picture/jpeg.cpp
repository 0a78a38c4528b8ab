#include "qbsvrl6/picture/jpeg.h"

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <memory>
#include <string>

// After <cstdio>, which it needs.
#include <jpeglib.h>

#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/lazy_library.h"

namespace qbsvrl6 {

namespace {

// The functions of libjpeg that are used.
struct JpegLibrary {
    LazyLibrary library{"libjpeg.so.62", "libjpeg62-turbo"};
    QBSVR_LAZY_FUNCTION(library, jpeg_CreateCompress);
    QBSVR_LAZY_FUNCTION(library, jpeg_CreateDecompress);
    QBSVR_LAZY_FUNCTION(library, jpeg_calc_output_dimensions);
    QBSVR_LAZY_FUNCTION(library, jpeg_destroy_compress);
    QBSVR_LAZY_FUNCTION(library, jpeg_destroy_decompress);
    QBSVR_LAZY_FUNCTION(library, jpeg_finish_compress);
    QBSVR_LAZY_FUNCTION(library, jpeg_mem_dest);
    QBSVR_LAZY_FUNCTION(library, jpeg_mem_src);
    QBSVR_LAZY_FUNCTION(library, jpeg_read_header);
    QBSVR_LAZY_FUNCTION(library, jpeg_read_scanlines);
    QBSVR_LAZY_FUNCTION(library, jpeg_set_defaults);
    QBSVR_LAZY_FUNCTION(library, jpeg_set_quality);
    QBSVR_LAZY_FUNCTION(library, jpeg_start_compress);
    QBSVR_LAZY_FUNCTION(library, jpeg_start_decompress);
    QBSVR_LAZY_FUNCTION(library, jpeg_std_error);
    QBSVR_LAZY_FUNCTION(library, jpeg_write_scanlines);
};

const JpegLibrary& libjpeg() {
    static const JpegLibrary library;
    return library;
}

// libjpeg reports errors by a long jump, so the frames that it skips own nothing.
template <typename Codec>
struct Errors {
    Codec jpeg{};
    jpeg_error_mgr errors{};
    std::jmp_buf back{};
    char message[JMSG_LENGTH_MAX] = {};

    Errors() {
        jpeg.err = libjpeg().jpeg_std_error(&errors);
        errors.error_exit = onError;
        errors.output_message = [](j_common_ptr) {};
        jpeg.client_data = this;
    }
    Errors(const Errors&) = delete;
    Errors& operator=(const Errors&) = delete;

    [[noreturn]] static void onError(j_common_ptr jpeg) {
        auto* self = static_cast<Errors*>(jpeg->client_data);
        jpeg->err->format_message(jpeg, self->message);
        std::longjmp(self->back, 1);
    }
    [[noreturn]] void fail() const {
        throw EngineError(ErrorCode::BadPicture, std::string("JPEG: ") + message);
    }
};

struct Reader : Errors<jpeg_decompress_struct> {
    ~Reader() { libjpeg().jpeg_destroy_decompress(&jpeg); }
};

struct Writer : Errors<jpeg_compress_struct> {
    unsigned long size;
    std::unique_ptr<unsigned char[]> space;  // for any content, so that libjpeg never replaces it
    unsigned char* bytes;

    // Two bytes per value at most; there are half as many values of colour as of light.
    Writer(int width, int height)
        : size((static_cast<unsigned long>(width) + 16) * (static_cast<unsigned long>(height) + 16) * 3 +
               2'048),
          space(std::make_unique_for_overwrite<unsigned char[]>(size)),
          bytes(space.get()) {}
    ~Writer() { libjpeg().jpeg_destroy_compress(&jpeg); }
};

bool readHead(Reader& reader, const unsigned char* bytes, unsigned long size, unsigned reduction) {
    if (setjmp(reader.back) != 0) return false;
    libjpeg().jpeg_CreateDecompress(&reader.jpeg, JPEG_LIB_VERSION, sizeof reader.jpeg);
    libjpeg().jpeg_mem_src(&reader.jpeg, bytes, size);
    libjpeg().jpeg_read_header(&reader.jpeg, TRUE);
    const int channels = reader.jpeg.num_components;
    reader.jpeg.out_color_space = channels == 1 ? JCS_GRAYSCALE : channels == 4 ? JCS_CMYK : JCS_RGB;
    reader.jpeg.scale_denom = reduction;
    libjpeg().jpeg_calc_output_dimensions(&reader.jpeg);
    return true;
}

bool start(Reader& reader) {
    if (setjmp(reader.back) != 0) return false;
    libjpeg().jpeg_start_decompress(&reader.jpeg);
    return true;
}

bool readRow(Reader& reader, JSAMPROW row) {
    if (setjmp(reader.back) != 0) return false;
    libjpeg().jpeg_read_scanlines(&reader.jpeg, &row, 1);
    return true;
}

bool start(Writer& writer, unsigned width, unsigned height, int channels) {
    constexpr int kQuality = 95;  // no loss that can be seen
    if (setjmp(writer.back) != 0) return false;
    libjpeg().jpeg_CreateCompress(&writer.jpeg, JPEG_LIB_VERSION, sizeof writer.jpeg);
    libjpeg().jpeg_mem_dest(&writer.jpeg, &writer.bytes, &writer.size);
    writer.jpeg.image_width = width;
    writer.jpeg.image_height = height;
    writer.jpeg.input_components = channels;
    writer.jpeg.in_color_space = channels == 1 ? JCS_GRAYSCALE : JCS_RGB;
    libjpeg().jpeg_set_defaults(&writer.jpeg);
    libjpeg().jpeg_set_quality(&writer.jpeg, kQuality, TRUE);
    libjpeg().jpeg_start_compress(&writer.jpeg, TRUE);
    return true;
}

bool writeRow(Writer& writer, JSAMPROW row) {
    if (setjmp(writer.back) != 0) return false;
    libjpeg().jpeg_write_scanlines(&writer.jpeg, &row, 1);
    return true;
}

bool finish(Writer& writer) {
    if (setjmp(writer.back) != 0) return false;
    libjpeg().jpeg_finish_compress(&writer.jpeg);
    return true;
}

// Converts a row from ink to light.
void toRgb(const std::vector<std::uint8_t>& row, std::uint8_t* to, bool inverted) {
    for (std::size_t i = 0; i + 4 <= row.size(); i += 4) {
        const auto light = [&](std::size_t at) { return inverted ? row[i + at] : 255 - row[i + at]; };
        for (std::size_t c = 0; c < 3; ++c) *to++ = static_cast<std::uint8_t>(light(c) * light(3) / 255);
    }
}

// Each scan of a progressive picture passes over all of it, however little it holds. Markers are FF and a
// code; FF 00 and FF D0 to FF D7 are within the scans, where they have no length.
std::uint64_t countScans(std::string_view file) {
    constexpr unsigned kScan = 0xDA;
    constexpr unsigned kEnd = 0xD9;
    const auto byteAt = [&](std::size_t i) {
        return i < file.size() ? static_cast<unsigned>(static_cast<unsigned char>(file[i])) : 0;
    };
    std::uint64_t scans = 0;
    for (std::size_t at = 2; (at = file.find('\xFF', at)) != std::string_view::npos;) {
        const unsigned code = byteAt(++at);
        if (code == kEnd) break;
        if (code == 0 || code == 0xFF || code == 1 || (code >= 0xD0 && code <= 0xD8)) continue;
        if (code == kScan) ++scans;
        at += 1 + std::max((byteAt(at + 1) << 8) | byteAt(at + 2), 2u);
    }
    return scans;
}

}  // namespace

Pixels decodeJpeg(std::string_view file, bool inverted, int reduction) {
    checkFigure(&Budget::pictureScans, countScans(file), "a JPEG file");
    Reader reader;
    // What libjpeg can do without decoding the rest.
    const unsigned scale = reduction >= 8 ? 8 : reduction >= 4 ? 4 : reduction >= 2 ? 2 : 1;
    if (!readHead(reader, reinterpret_cast<const unsigned char*>(file.data()), file.size(), scale)) {
        reader.fail();
    }
    spend(&Budget::pixels, std::uint64_t{reader.jpeg.output_width} * reader.jpeg.output_height);
    if (!start(reader)) reader.fail();
    Pixels pixels;
    pixels.width = static_cast<int>(reader.jpeg.output_width);
    pixels.height = static_cast<int>(reader.jpeg.output_height);
    const bool ink = reader.jpeg.output_components == 4;
    pixels.channels = reader.jpeg.output_components == 1 ? 1 : 3;
    const std::size_t rowBytes =
        static_cast<std::size_t>(pixels.width) * static_cast<std::size_t>(pixels.channels);
    pixels.color.resize(rowBytes * static_cast<std::size_t>(pixels.height));
    std::vector<std::uint8_t> inkRow(ink ? static_cast<std::size_t>(pixels.width) * 4 : 0);
    for (std::uint8_t* row = pixels.color.data(); reader.jpeg.output_scanline < reader.jpeg.output_height;
         row += rowBytes) {
        goOn();
        if (!readRow(reader, ink ? inkRow.data() : row)) reader.fail();
        if (ink) toRgb(inkRow, row, inverted);
    }
    return pixels;
}

std::string encodeUpright(const Pixels& pixels, int orientation) {
    const bool isTurned = orientation >= 5;  // by 90 or 270 degrees
    const bool fromRight = orientation == 2 || orientation == 3 || orientation >= 7;
    const bool fromBottom = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
    const int width = isTurned ? pixels.height : pixels.width;
    const int height = isTurned ? pixels.width : pixels.height;
    const auto channels = static_cast<std::size_t>(pixels.channels);
    std::vector<std::uint8_t> row(static_cast<std::size_t>(width) * channels);
    Writer writer(width, height);
    if (!start(writer, static_cast<unsigned>(width), static_cast<unsigned>(height), pixels.channels)) {
        writer.fail();
    }
    for (int y = 0; y < height; ++y) {
        goOn();
        std::uint8_t* to = row.data();
        for (int x = 0; x < width; ++x) {
            const int across = isTurned ? y : x;
            const int down = isTurned ? x : y;
            const auto column = static_cast<std::size_t>(fromRight ? pixels.width - 1 - across : across);
            const auto line = static_cast<std::size_t>(fromBottom ? pixels.height - 1 - down : down);
            const std::size_t at = (line * static_cast<std::size_t>(pixels.width) + column) * channels;
            to = std::copy_n(pixels.color.data() + at, channels, to);
        }
        if (!writeRow(writer, row.data())) writer.fail();
    }
    if (!finish(writer)) writer.fail();
    return {reinterpret_cast<const char*>(writer.bytes), writer.size};
}

}  // namespace qbsvrl6

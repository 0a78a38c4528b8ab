#include "qbsvrl6/picture/jpeg.h"

#include <csetjmp>
#include <cstdio>
#include <string>

// After <cstdio>, which it needs.
#include <jpeglib.h>

#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

namespace {

// libjpeg reports errors by a long jump, so the frames that it skips own nothing.
struct Reader {
    jpeg_decompress_struct jpeg{};
    jpeg_error_mgr errors{};
    std::jmp_buf back{};
    char message[JMSG_LENGTH_MAX] = {};

    Reader() {
        jpeg.err = jpeg_std_error(&errors);
        errors.error_exit = onError;
        errors.output_message = [](j_common_ptr) {};
        jpeg.client_data = this;
    }
    ~Reader() { jpeg_destroy_decompress(&jpeg); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    [[noreturn]] static void onError(j_common_ptr jpeg) {
        auto* reader = static_cast<Reader*>(jpeg->client_data);
        jpeg->err->format_message(jpeg, reader->message);
        std::longjmp(reader->back, 1);
    }
    [[noreturn]] void fail() const {
        throw EngineError(ErrorCode::BadPicture, std::string("JPEG: ") + message);
    }
};

bool start(Reader& reader, const unsigned char* bytes, unsigned long size) {
    if (setjmp(reader.back) != 0) return false;
    jpeg_create_decompress(&reader.jpeg);
    jpeg_mem_src(&reader.jpeg, bytes, size);
    jpeg_read_header(&reader.jpeg, TRUE);
    const int channels = reader.jpeg.num_components;
    reader.jpeg.out_color_space = channels == 1 ? JCS_GRAYSCALE : channels == 4 ? JCS_CMYK : JCS_RGB;
    jpeg_start_decompress(&reader.jpeg);
    return true;
}

bool readRow(Reader& reader, JSAMPROW row) {
    if (setjmp(reader.back) != 0) return false;
    jpeg_read_scanlines(&reader.jpeg, &row, 1);
    return true;
}

// Converts a row from ink to light.
void toRgb(const std::vector<std::uint8_t>& row, std::uint8_t* to, bool inverted) {
    for (std::size_t i = 0; i + 4 <= row.size(); i += 4) {
        const auto light = [&](std::size_t at) { return inverted ? row[i + at] : 255 - row[i + at]; };
        for (std::size_t c = 0; c < 3; ++c) *to++ = static_cast<std::uint8_t>(light(c) * light(3) / 255);
    }
}

}  // namespace

Pixels decodeJpeg(std::string_view file, bool inverted) {
    Reader reader;
    if (!start(reader, reinterpret_cast<const unsigned char*>(file.data()), file.size())) reader.fail();
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
        if (!readRow(reader, ink ? inkRow.data() : row)) reader.fail();
        if (ink) toRgb(inkRow, row, inverted);
    }
    return pixels;
}

}  // namespace qbsvrl6

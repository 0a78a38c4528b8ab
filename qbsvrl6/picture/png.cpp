#include "qbsvrl6/picture/png.h"

#include <png.h>

#include <cstring>

#include "qbsvrl6/picture/row_reducer.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

namespace {

struct Source {
    std::string_view file;
    std::size_t at = 0;
};

void readFrom(png_structp png, png_bytep to, png_size_t count) {
    auto* source = static_cast<Source*>(png_get_io_ptr(png));
    if (source->file.size() - source->at < count) png_error(png, "the file is cut short");
    std::memcpy(to, source->file.data() + source->at, count);
    source->at += count;
}

// libpng reports errors by a long jump, so the frames that it skips own nothing: each step is a function
// without objects that have destructors.
struct Reader {
    png_structp png = nullptr;
    png_infop info = nullptr;
    Source source;
    char message[96] = {};

    explicit Reader(std::string_view file) : source{file} {
        png = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, onError, onWarning);
        if (png != nullptr) info = png_create_info_struct(png);
        if (info == nullptr) {
            png_destroy_read_struct(&png, nullptr, nullptr);
            throw std::bad_alloc();
        }
        png_set_read_fn(png, &source, readFrom);
    }
    ~Reader() { png_destroy_read_struct(&png, &info, nullptr); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    [[noreturn]] static void onError(png_structp png, png_const_charp text) {
        auto* reader = static_cast<Reader*>(png_get_error_ptr(png));
        std::strncpy(reader->message, text, sizeof reader->message - 1);
        png_longjmp(png, 1);
    }
    static void onWarning(png_structp, png_const_charp) {}

    [[noreturn]] void fail() const {
        throw EngineError(ErrorCode::BadPicture, std::string("PNG: ") + message);
    }
};

bool readHead(Reader& reader) {
    if (setjmp(png_jmpbuf(reader.png)) != 0) return false;
    png_read_info(reader.png, reader.info);
    return true;
}

// Makes libpng return each pixel as 8 bits of grey, or of red, green and blue, with alpha if the file has
// any.
bool askForBytes(Reader& reader) {
    if (setjmp(png_jmpbuf(reader.png)) != 0) return false;
    png_set_expand(reader.png);
    png_set_scale_16(reader.png);
    png_set_interlace_handling(reader.png);
    png_read_update_info(reader.png, reader.info);
    return true;
}

bool askForRowsAsTheyAre(Reader& reader) {
    if (setjmp(png_jmpbuf(reader.png)) != 0) return false;
    png_read_update_info(reader.png, reader.info);
    return true;
}

bool readImage(Reader& reader, png_bytepp rows) {
    if (setjmp(png_jmpbuf(reader.png)) != 0) return false;
    png_read_image(reader.png, rows);
    png_read_end(reader.png, nullptr);
    return true;
}

bool readRow(Reader& reader, png_bytep row) {
    if (setjmp(png_jmpbuf(reader.png)) != 0) return false;
    png_read_row(reader.png, row, nullptr);
    return true;
}

bool readEnd(Reader& reader) {
    if (setjmp(png_jmpbuf(reader.png)) != 0) return false;
    png_read_end(reader.png, nullptr);
    return true;
}

bool isInterlaced(const Reader& reader) {
    return png_get_interlace_type(reader.png, reader.info) != PNG_INTERLACE_NONE;
}

void spendPixels(const Reader& reader) {
    spend(&Budget::pixels, std::uint64_t{png_get_image_width(reader.png, reader.info)} *
                               png_get_image_height(reader.png, reader.info));
}

std::string concatenateIdat(std::string_view file) {
    const auto byteAt = [&](std::size_t i) {
        return static_cast<std::size_t>(static_cast<unsigned char>(file[i]));
    };
    constexpr std::size_t kSignature = 8;
    constexpr std::size_t kFrame = 12;  // length, name and checksum of a chunk
    std::string bytes;
    for (std::size_t at = kSignature; at + kFrame <= file.size();) {
        const std::size_t length =
            (byteAt(at) << 24) | (byteAt(at + 1) << 16) | (byteAt(at + 2) << 8) | byteAt(at + 3);
        if (length > file.size() - at - kFrame) break;
        if (file.substr(at + 4, 4) == "IDAT") bytes += file.substr(at + 8, length);
        at += kFrame + length;
    }
    return bytes;
}

}  // namespace

Pixels decodePng(std::string_view file, int reduction) {
    Reader reader(file);
    if (!readHead(reader)) reader.fail();
    spendPixels(reader);
    if (!askForBytes(reader)) reader.fail();
    const std::size_t height = png_get_image_height(reader.png, reader.info);
    const std::size_t rowBytes = png_get_rowbytes(reader.png, reader.info);
    RowReducer reducer(static_cast<int>(png_get_image_width(reader.png, reader.info)),
                       static_cast<int>(height), png_get_channels(reader.png, reader.info), reduction);
    if (isInterlaced(reader)) {  // the last pass has pixels of all rows
        std::vector<std::uint8_t> image(rowBytes * height);
        std::vector<png_bytep> rows(height);
        for (std::size_t y = 0; y < height; ++y) rows[y] = image.data() + y * rowBytes;
        if (!readImage(reader, rows.data())) reader.fail();
        for (const png_bytep row : rows) reducer.add(row);
        return reducer.take();
    }
    std::vector<std::uint8_t> row(rowBytes);
    for (std::size_t y = 0; y < height; ++y) {
        goOn();
        if (!readRow(reader, row.data())) reader.fail();
        reducer.add(row.data());
    }
    if (!readEnd(reader)) reader.fail();
    return reducer.take();
}

PngRows extractPngRows(std::string_view file) {
    Reader reader(file);
    if (!readHead(reader)) reader.fail();
    PngRows rows;
    const int type = png_get_color_type(reader.png, reader.info);
    const bool transparent =
        (type & PNG_COLOR_MASK_ALPHA) != 0 || png_get_valid(reader.png, reader.info, PNG_INFO_tRNS) != 0;
    if (transparent || isInterlaced(reader)) return rows;
    spendPixels(reader);
    rows.bitDepth = png_get_bit_depth(reader.png, reader.info);
    rows.channels = png_get_channels(reader.png, reader.info);
    if (type == PNG_COLOR_TYPE_PALETTE) {
        png_colorp entries = nullptr;
        int count = 0;
        if (png_get_PLTE(reader.png, reader.info, &entries, &count) == 0) return rows;
        for (int i = 0; i < count; ++i) {
            const png_color& entry = entries[i];
            for (const png_byte part : {entry.red, entry.green, entry.blue})
                rows.palette += static_cast<char>(part);
        }
    }
    if (!askForRowsAsTheyAre(reader)) reader.fail();
    std::vector<std::uint8_t> row(png_get_rowbytes(reader.png, reader.info));
    for (png_uint_32 y = png_get_image_height(reader.png, reader.info); y > 0; --y) {
        goOn();
        if (!readRow(reader, row.data())) reader.fail();
    }
    if (!readEnd(reader)) reader.fail();
    rows.deflated = concatenateIdat(file);
    rows.usable = true;
    return rows;
}

}  // namespace qbsvrl6

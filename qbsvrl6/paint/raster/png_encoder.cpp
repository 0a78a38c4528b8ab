#include <png.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "qbsvrl6/paint/raster/image_encoder.h"
#include "qbsvrl6/paint/raster/pixel_rows.h"
#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

namespace {

// libpng reports errors by a long jump, so only functions without owned objects call it.
class PngEncoder : public ImageEncoder {
public:
    PngEncoder(double resolution, std::string& output) : resolution_(resolution), output_(output) {
        png_ = png_create_write_struct_2(
            PNG_LIBPNG_VER_STRING, this, onError, [](png_structp, png_const_charp) {}, this, allocate,
            [](png_structp, png_voidp memory) { std::free(memory); });
        if (png_ != nullptr) info_ = png_create_info_struct(png_);
        if (info_ == nullptr) {
            png_destroy_write_struct(&png_, nullptr);
            throw std::bad_alloc();
        }
        png_set_write_fn(png_, this, write, [](png_structp) {});
    }
    ~PngEncoder() override { png_destroy_write_struct(&png_, &info_); }
    PngEncoder(const PngEncoder&) = delete;
    PngEncoder& operator=(const PngEncoder&) = delete;

    void begin(int width, int height, bool grey) override {
        grey_ = grey;
        width_ = width;
        row_.resize(packedBytes(width, grey));
        if (!writeHead(static_cast<png_uint_32>(width), static_cast<png_uint_32>(height))) fail();
    }

    void row(const std::uint32_t* pixels) override {
        packRow(pixels, width_, grey_, row_.data());
        if (!writeRow()) fail();
    }

    void finish() override {
        if (!writeEnd()) fail();
    }

private:
    bool writeHead(png_uint_32 width, png_uint_32 height) {
        if (setjmp(png_jmpbuf(png_)) != 0) return false;
        png_set_user_limits(png_, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        png_set_IHDR(png_, info_, width, height, 8, grey_ ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB,
                     PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        const auto dotsPerMetre = static_cast<png_uint_32>(std::lround(resolution_ / 0.0254));
        png_set_pHYs(png_, info_, dotsPerMetre, dotsPerMetre, PNG_RESOLUTION_METER);
        // Pages are mostly white: filters don't make them smaller, and higher levels are slow.
        png_set_filter(png_, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE);
        png_set_compression_level(png_, 4);
        png_write_info(png_, info_);
        return true;
    }
    bool writeRow() {
        if (setjmp(png_jmpbuf(png_)) != 0) return false;
        png_write_row(png_, row_.data());
        return true;
    }
    bool writeEnd() {
        if (setjmp(png_jmpbuf(png_)) != 0) return false;
        png_write_end(png_, info_);
        return true;
    }

    static void write(png_structp png, png_bytep bytes, png_size_t count) {
        auto* self = static_cast<PngEncoder*>(png_get_io_ptr(png));
        try {
            self->output_.append(reinterpret_cast<const char*>(bytes), count);
        } catch (const std::exception&) {  // must not pass through the library
            self->outOfMemory_ = true;
        }
        if (self->outOfMemory_) png_error(png, "out of memory");
    }
    static png_voidp allocate(png_structp png, png_alloc_size_t size) {
        void* const memory = std::malloc(size);
        if (memory == nullptr) static_cast<PngEncoder*>(png_get_mem_ptr(png))->outOfMemory_ = true;
        return memory;
    }
    [[noreturn]] static void onError(png_structp png, png_const_charp text) {
        auto* self = static_cast<PngEncoder*>(png_get_error_ptr(png));
        std::strncpy(self->message_, text, sizeof self->message_ - 1);
        png_longjmp(png, 1);
    }
    [[noreturn]] void fail() const {
        if (outOfMemory_) throw std::bad_alloc();
        throw EngineError(ErrorCode::Internal, std::string("PNG: ") + message_);
    }

    double resolution_;
    std::string& output_;
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    int width_ = 0;
    bool grey_ = false;
    std::vector<std::uint8_t> row_;
    char message_[96] = {};
    bool outOfMemory_ = false;
};

}  // namespace

std::unique_ptr<ImageEncoder> makePngEncoder(double resolution, std::string& output) {
    return std::make_unique<PngEncoder>(resolution, output);
}

}  // namespace qbsvrl6

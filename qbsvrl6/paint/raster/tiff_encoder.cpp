#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "qbsvrl6/paint/raster/image_encoder.h"
#include "qbsvrl6/paint/raster/pixel_rows.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/lazy_library.h"

namespace qbsvrl6 {

namespace {

// A file in memory, for libtiff's callbacks.
struct MemoryFile {
    std::string& bytes;
    std::size_t at = 0;

    static MemoryFile& of(thandle_t handle) { return *static_cast<MemoryFile*>(handle); }
    static tmsize_t read(thandle_t handle, void* to, tmsize_t count) {
        MemoryFile& file = of(handle);
        const std::size_t left = file.at < file.bytes.size() ? file.bytes.size() - file.at : 0;
        const std::size_t taken = std::min(left, static_cast<std::size_t>(count));
        if (taken > 0) std::memcpy(to, file.bytes.data() + file.at, taken);
        file.at += taken;
        return static_cast<tmsize_t>(taken);
    }
    static tmsize_t write(thandle_t handle, void* from, tmsize_t count) {
        MemoryFile& file = of(handle);
        const auto size = static_cast<std::size_t>(count);
        try {
            if (file.at + size > file.bytes.size()) file.bytes.resize(file.at + size);
        } catch (const std::exception&) {  // must not pass through the library
            return -1;
        }
        std::memcpy(file.bytes.data() + file.at, from, size);
        file.at += size;
        return count;
    }
    static toff_t seek(thandle_t handle, toff_t offset, int whence) {
        MemoryFile& file = of(handle);
        const toff_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? file.at : file.bytes.size();
        file.at = static_cast<std::size_t>(base + offset);
        return file.at;
    }
    static toff_t size(thandle_t handle) { return of(handle).bytes.size(); }
    static int close(thandle_t) { return 0; }
    static int map(thandle_t, void**, toff_t*) { return 0; }
    static void unmap(thandle_t, void*, toff_t) {}
};

// The functions of libtiff that are used.
struct Tiff {
    LazyLibrary library{"libtiff.so.6", "libtiff6"};
    QBSVR_LAZY_FUNCTION(library, TIFFClientOpen);
    QBSVR_LAZY_FUNCTION(library, TIFFClose);
    QBSVR_LAZY_FUNCTION(library, TIFFFlush);
    QBSVR_LAZY_FUNCTION(library, TIFFSetField);
    QBSVR_LAZY_FUNCTION(library, TIFFWriteDirectory);
    QBSVR_LAZY_FUNCTION(library, TIFFWriteEncodedStrip);

    static const Tiff& get() {
        static const Tiff tiff;
        return tiff;
    }
};

class TiffEncoder : public ImageEncoder {
public:
    TiffEncoder(double resolution, std::string& output) : resolution_(resolution), file_{output} {
        output.clear();
        tiff_ =
            lib_.TIFFClientOpen("memory", "wl", &file_, MemoryFile::read, MemoryFile::write, MemoryFile::seek,
                                MemoryFile::close, MemoryFile::size, MemoryFile::map, MemoryFile::unmap);
        if (tiff_ == nullptr) throw std::bad_alloc();
    }
    ~TiffEncoder() override {
        if (tiff_ != nullptr) lib_.TIFFClose(tiff_);
    }
    TiffEncoder(const TiffEncoder&) = delete;
    TiffEncoder& operator=(const TiffEncoder&) = delete;

    void begin(int width, int height, bool grey) override {
        endImage();
        width_ = width;
        grey_ = grey;
        nextRow_ = 0;
        rowBytes_ = packedBytes(width, grey);
        constexpr std::size_t kStripBytes = 256 << 10;
        stripRows_ = static_cast<int>(
            std::clamp<std::size_t>(kStripBytes / rowBytes_, 1, static_cast<std::size_t>(height)));
        strip_.resize(rowBytes_ * static_cast<std::size_t>(stripRows_));
        height_ = height;
        set(TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(width));
        set(TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(height));
        set(TIFFTAG_BITSPERSAMPLE, 8);
        set(TIFFTAG_SAMPLESPERPIXEL, grey ? 1 : 3);
        set(TIFFTAG_PHOTOMETRIC, grey ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
        set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        set(TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
        set(TIFFTAG_COMPRESSION, COMPRESSION_LZW);  // supported by every reader of TIFF
        set(TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(stripRows_));
        set(TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
        set(TIFFTAG_XRESOLUTION, resolution_);
        set(TIFFTAG_YRESOLUTION, resolution_);
        set(TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
        open_ = true;
    }

    void row(const std::uint32_t* pixels) override {
        const int inStrip = nextRow_ % stripRows_;
        packRow(pixels, width_, grey_, strip_.data() + static_cast<std::size_t>(inStrip) * rowBytes_);
        ++nextRow_;
        if (inStrip + 1 < stripRows_ && nextRow_ < height_) return;
        const auto strip = static_cast<std::uint32_t>((nextRow_ - 1) / stripRows_);
        const auto bytes = static_cast<tmsize_t>(static_cast<std::size_t>(inStrip + 1) * rowBytes_);
        if (lib_.TIFFWriteEncodedStrip(tiff_, strip, strip_.data(), bytes) < 0) fail();
    }

    void finish() override {
        endImage();
        if (lib_.TIFFFlush(tiff_) == 0) fail();
        lib_.TIFFClose(tiff_);
        tiff_ = nullptr;
    }

private:
    template <class Value>
    void set(std::uint32_t tag, Value value) {
        if (lib_.TIFFSetField(tiff_, tag, value) == 0) fail();
    }
    void endImage() {
        if (open_ && lib_.TIFFWriteDirectory(tiff_) == 0) fail();
        open_ = false;
    }
    [[noreturn]] static void fail() {
        throw EngineError(ErrorCode::Internal, "TIFF: the image can't be written");
    }

    const Tiff& lib_ = Tiff::get();
    double resolution_;
    MemoryFile file_;
    TIFF* tiff_ = nullptr;
    int width_ = 0, height_ = 0;
    bool grey_ = false, open_ = false;
    int stripRows_ = 1, nextRow_ = 0;
    std::size_t rowBytes_ = 0;
    std::vector<std::uint8_t> strip_;
};

}  // namespace

std::unique_ptr<ImageEncoder> makeTiffEncoder(double resolution, std::string& output) {
    return std::make_unique<TiffEncoder>(resolution, output);
}

}  // namespace qbsvrl6

#include "qbsvrl6/paint/compressor.h"

#include <libdeflate.h>

#include <memory>
#include <new>

#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

namespace {

struct CompressorDeleter {
    void operator()(libdeflate_compressor* compressor) const { libdeflate_free_compressor(compressor); }
};

struct DecompressorDeleter {
    void operator()(libdeflate_decompressor* decompressor) const {
        libdeflate_free_decompressor(decompressor);
    }
};

struct ThreadCompressor {
    std::unique_ptr<libdeflate_compressor, CompressorDeleter> compressors[2];  // by their aim
    std::unique_ptr<char[]> bytes;
    std::size_t capacity = 0;
};

// Higher levels double the time for the last percent of size.
constexpr int kLevels[] = {6, 1};

// A larger buffer, as for a picture, is freed: pages don't need it.
constexpr std::size_t kKeptBytes = 1 << 20;

}  // namespace

std::string_view compress(std::string_view bytes, Compression aim) {
    thread_local ThreadCompressor state;
    const auto kind = static_cast<std::size_t>(aim);
    std::unique_ptr<libdeflate_compressor, CompressorDeleter>& compressor = state.compressors[kind];
    if (compressor == nullptr) {
        compressor.reset(libdeflate_alloc_compressor(kLevels[kind]));
        if (compressor == nullptr) throw std::bad_alloc();
    }
    const std::size_t bound = libdeflate_zlib_compress_bound(compressor.get(), bytes.size());
    if (state.capacity < bound || state.capacity > kKeptBytes) {
        state.bytes.reset(new char[bound]);
        state.capacity = bound;
    }
    const std::size_t size = libdeflate_zlib_compress(compressor.get(), bytes.data(), bytes.size(),
                                                      state.bytes.get(), state.capacity);
    return {state.bytes.get(), size};
}

void decompress(std::string_view compressed, void* to, std::size_t size) {
    const std::unique_ptr<libdeflate_decompressor, DecompressorDeleter> decompressor(
        libdeflate_alloc_decompressor());
    if (decompressor == nullptr) throw std::bad_alloc();
    const libdeflate_result result = libdeflate_zlib_decompress(decompressor.get(), compressed.data(),
                                                                compressed.size(), to, size, nullptr);
    if (result != LIBDEFLATE_SUCCESS) throw EngineError(ErrorCode::Internal, "kept bytes can't be read back");
}

}  // namespace qbsvrl6

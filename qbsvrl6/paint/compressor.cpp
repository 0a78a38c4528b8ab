#include "qbsvrl6/paint/compressor.h"

#include <libdeflate.h>

#include <cstdint>
#include <memory>
#include <new>

#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/igzip.h"

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

struct QuickCompressor {
    isal_zstream stream;
    igzip::LevelBuffer buffer;
};

struct ThreadCompressor {
    std::unique_ptr<libdeflate_compressor, CompressorDeleter> best;
    std::unique_ptr<QuickCompressor> quick;
    std::unique_ptr<char[]> bytes;
    std::size_t capacity = 0;
};

// Higher levels double the time for the last percent of size.
constexpr int kLevel = 6;

// A larger buffer, as for a picture, is freed: pages don't need it.
constexpr std::size_t kKeptBytes = 1 << 20;

libdeflate_compressor* bestOf(ThreadCompressor& state) {
    if (state.best == nullptr) state.best.reset(libdeflate_alloc_compressor(kLevel));
    if (state.best == nullptr) throw std::bad_alloc();
    return state.best.get();
}

// The size of the result.
std::size_t compressQuickly(ThreadCompressor& state, std::string_view bytes) {
    if (state.quick == nullptr) state.quick = std::make_unique<QuickCompressor>();
    isal_zstream& stream = state.quick->stream;
    igzip::beginWhole(stream);
    stream.level = igzip::kLevel;
    stream.level_buf = state.quick->buffer.data();
    stream.level_buf_size = static_cast<std::uint32_t>(state.quick->buffer.size());
    stream.gzip_flag = IGZIP_ZLIB;
    stream.end_of_stream = 1;
    stream.next_in = reinterpret_cast<std::uint8_t*>(const_cast<char*>(bytes.data()));  // only read
    stream.avail_in = static_cast<std::uint32_t>(bytes.size());
    stream.next_out = reinterpret_cast<std::uint8_t*>(state.bytes.get());
    stream.avail_out = static_cast<std::uint32_t>(state.capacity);
    const int result = igzip::deflateWhole(stream);
    if (result != COMP_OK) throw EngineError(ErrorCode::Internal, "bytes can't be compressed");
    return stream.total_out;
}

}  // namespace

std::string_view compress(std::string_view bytes, Compression aim) {
    constexpr std::size_t kMostQuick = 1u << 30;  // it counts in 32 bits
    thread_local ThreadCompressor state;
    libdeflate_compressor* const best = bestOf(state);
    const std::size_t bound = libdeflate_zlib_compress_bound(best, bytes.size());
    if (state.capacity < bound || state.capacity > kKeptBytes) {
        state.bytes.reset(new char[bound]);
        state.capacity = bound;
    }
    if (aim == Compression::Speed && bytes.size() < kMostQuick) {
        return {state.bytes.get(), compressQuickly(state, bytes)};
    }
    return {state.bytes.get(),
            libdeflate_zlib_compress(best, bytes.data(), bytes.size(), state.bytes.get(), state.capacity)};
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

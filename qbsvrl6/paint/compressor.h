// Deflate compression in the zlib format, with one compressor per thread.
#ifndef QBSVR_QBSVRL6_PAINT_COMPRESSOR_H
#define QBSVR_QBSVRL6_PAINT_COMPRESSOR_H

#include <cstddef>
#include <string_view>

namespace qbsvrl6 {

// Speed takes a quarter of the time, and the result is a quarter larger.
enum class Compression { Size, Speed };

// The compressed bytes, valid until the thread's next call. Raises std::bad_alloc.
std::string_view compress(std::string_view bytes, Compression aim = Compression::Size);

// Decompresses a result of compress() into exactly `size` bytes at `to`.
void decompress(std::string_view compressed, void* to, std::size_t size);

}  // namespace qbsvrl6

#endif

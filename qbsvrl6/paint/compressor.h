// Deflate in the zlib form, by one compressor a thread.
#ifndef QBSVR_QBSVRL6_PAINT_COMPRESSOR_H
#define QBSVR_QBSVRL6_PAINT_COMPRESSOR_H

#include <cstddef>
#include <string_view>

namespace qbsvrl6 {

// The compressed bytes, good until the thread's next call. Raises std::bad_alloc.
std::string_view compress(std::string_view bytes);

// Fills exactly `size` bytes at `to` from what compress() gave.
void decompress(std::string_view compressed, void* to, std::size_t size);

}  // namespace qbsvrl6

#endif

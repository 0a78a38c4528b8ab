// Deflate in the zlib form, by one compressor a thread.
#ifndef QBSVR_QBSVRL6_PAINT_COMPRESSOR_H
#define QBSVR_QBSVRL6_PAINT_COMPRESSOR_H

#include <string_view>

namespace qbsvrl6 {

// The compressed bytes, good until the thread's next call. Raises std::bad_alloc.
std::string_view compress(std::string_view bytes);

}  // namespace qbsvrl6

#endif

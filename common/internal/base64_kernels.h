// The vector kernels of common/base64.h. Each does the largest part that it can; base64.cpp does the rest.
#ifndef QBSVR_COMMON_INTERNAL_BASE64_KERNELS_H
#define QBSVR_COMMON_INTERNAL_BASE64_KERNELS_H

#include <cstddef>

#include "common/internal/vector_level.h"

namespace larkspur::base64 {

using Byte = unsigned char;

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

struct Kernels {
    // Encodes groups of three bytes as four characters each and returns the number of groups done.
    std::size_t (*encode)(const Byte* data, std::size_t groups, char* out);

    // Decodes whole groups and advances both positions. May stop anywhere, but always after the fourth
    // character of a group. The output has space for three bytes per started group of [p, end).
    void (*decode)(const Byte*& p, const Byte* end, Byte*& out);
};

inline std::size_t EncodeNothing(const Byte*, std::size_t, char*) { return 0; }
inline void DecodeNothing(const Byte*&, const Byte*, Byte*&) {}

#ifdef QBSVR_VECTOR_KERNELS
std::size_t EncodeAvx2(const Byte* data, std::size_t groups, char* out);
void DecodeAvx2(const Byte*& p, const Byte* end, Byte*& out);
std::size_t EncodeAvx512(const Byte* data, std::size_t groups, char* out);
void DecodeAvx512(const Byte*& p, const Byte* end, Byte*& out);
#endif

inline Kernels KernelsFor(VectorLevel level) {
#ifdef QBSVR_VECTOR_KERNELS
    if (level == VectorLevel::kAvx512) return {EncodeAvx512, DecodeAvx512};
    if (level == VectorLevel::kAvx2) return {EncodeAvx2, DecodeAvx2};
#endif
    static_cast<void>(level);
    return {EncodeNothing, DecodeNothing};
}

}  // namespace larkspur::base64

#endif

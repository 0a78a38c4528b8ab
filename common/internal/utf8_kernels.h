// The loops of common/unicode.h over blocks of text, one per vector level. All give the same result.
#ifndef QBSVR_COMMON_INTERNAL_UTF8_KERNELS_H
#define QBSVR_COMMON_INTERNAL_UTF8_KERNELS_H

#include <cstddef>

#include "common/internal/vector_level.h"
#include "common/text.h"

namespace larkspur::utf8 {

using Byte = unsigned char;

// Kernels may write this many units or bytes more than they return.
constexpr std::size_t kSlack = 64;

// The length of the sequence with this lead byte; 0 for continuation bytes and everything from 0xF0 up.
constexpr std::size_t SequenceLength(Byte lead) {
    if (lead < 0x80) return 1;
    if (lead < 0xC0) return 0;
    if (lead < 0xE0) return 2;
    return lead < 0xF0 ? 3 : 0;
}

// Decodes the sequence at the start of n bytes (at least 1) and returns its length, or 0 if it is invalid or
// cut off. The second byte of a two-byte sequence is not examined, and overlong forms are accepted. Lone
// surrogates survive a round trip.
inline std::size_t DecodeUnit(const Byte* from, std::size_t n, lkchar& out) {
    const auto isContinuation = [](Byte byte) { return (byte & 0xC0) == 0x80; };
    out = 0;
    const std::size_t length = SequenceLength(from[0]);
    if (length > n) return 0;
    switch (length) {
        case 1:
            out = from[0];
            break;
        case 2:
            out = static_cast<lkchar>((from[0] & 0x1F) << 6 | (from[1] & 0x3F));
            break;
        case 3:
            if (!isContinuation(from[1]) || !isContinuation(from[2])) return 0;
            out = static_cast<lkchar>((from[0] & 0x0F) << 12 | (from[1] & 0x3F) << 6 | (from[2] & 0x3F));
            break;
        default:
            break;
    }
    return length;
}

inline std::size_t EncodeUnit(lkchar unit, Byte* to) {
    if (unit < 0x80) {
        to[0] = static_cast<Byte>(unit);
        return 1;
    }
    if (unit < 0x800) {
        to[0] = static_cast<Byte>(0xC0 | unit >> 6);
        to[1] = static_cast<Byte>(0x80 | (unit & 0x3F));
        return 2;
    }
    to[0] = static_cast<Byte>(0xE0 | unit >> 12);
    to[1] = static_cast<Byte>(0x80 | (unit >> 6 & 0x3F));
    to[2] = static_cast<Byte>(0x80 | (unit & 0x3F));
    return 3;
}

struct Kernels {
    // Decodes the sequences that start before `limit`; the last one may extend to `end`. Advances `from` and
    // `to`, and returns false at an invalid sequence. The output has space for the units and the slack.
    bool (*decode)(const Byte*& from, const Byte* limit, const Byte* end, lkchar*& to);

    // Encodes the units of [from, end) and returns the end of the bytes. The output has space for the
    // bytes and the slack.
    Byte* (*encode)(const lkchar* from, const lkchar* end, Byte* to);
};

bool DecodePlain(const Byte*& from, const Byte* limit, const Byte* end, lkchar*& to);
Byte* EncodePlain(const lkchar* from, const lkchar* end, Byte* to);

#ifdef QBSVR_VECTOR_KERNELS
bool DecodeAvx2(const Byte*& from, const Byte* limit, const Byte* end, lkchar*& to);
Byte* EncodeAvx2(const lkchar* from, const lkchar* end, Byte* to);
bool DecodeAvx512(const Byte*& from, const Byte* limit, const Byte* end, lkchar*& to);
Byte* EncodeAvx512(const lkchar* from, const lkchar* end, Byte* to);
#endif

inline Kernels KernelsFor(VectorLevel level) {
#ifdef QBSVR_VECTOR_KERNELS
    if (level == VectorLevel::kAvx512) return {DecodeAvx512, EncodeAvx512};
    if (level == VectorLevel::kAvx2) return {DecodeAvx2, EncodeAvx2};
#endif
    static_cast<void>(level);
    return {DecodePlain, EncodePlain};
}

}  // namespace larkspur::utf8

#endif

// UTF-8 and 16-bit text, 64 bytes per step.
//
// Decoding: the lead byte of each sequence, and the two bytes after it, are compressed into three vectors of
// one byte per unit. Widened, their bits make the units. Encoding: every unit becomes a lane of three bytes,
// of which the ones that it needs are compressed.
#include "common/internal/utf8_kernels.h"

#ifdef QBSVR_VECTOR_KERNELS
#include <immintrin.h>

#include <algorithm>
#include <cstdint>

namespace larkspur::utf8 {

namespace {

// The bits of the first n of 64 lanes.
QBSVR_TARGET_AVX512 inline __mmask64 FirstLanes(std::size_t n) {
    return n < 64 ? _bzhi_u64(~0ull, static_cast<unsigned int>(n)) : ~0ull;
}

// The units of 32 sequences, from their first, second and third bytes.
QBSVR_TARGET_AVX512 inline __m512i Join(__m256i one, __m256i two, __m256i three, __mmask32 isTwo,
                                        __mmask32 isThree) {
    const __m512i sixBits = _mm512_set1_epi16(0x3F);
    const __m512i first = _mm512_cvtepu8_epi16(one);
    const __m512i middle = _mm512_and_si512(_mm512_cvtepu8_epi16(two), sixBits);
    const __m512i last = _mm512_and_si512(_mm512_cvtepu8_epi16(three), sixBits);
    // Shifting the first byte of three drops its tag.
    const __m512i ofThree =
        _mm512_or_si512(_mm512_or_si512(_mm512_slli_epi16(first, 12), last), _mm512_slli_epi16(middle, 6));
    const __m512i ofTwo =
        _mm512_or_si512(_mm512_slli_epi16(_mm512_and_si512(first, _mm512_set1_epi16(0x1F)), 6), middle);
    return _mm512_mask_mov_epi16(_mm512_mask_mov_epi16(first, isTwo, ofTwo), isThree, ofThree);
}

// The bytes at the end of a block that start a sequence without ending it. Reading them again is faster than
// waiting for the masks, on which the start of the next block would then depend.
inline std::size_t CutOff(const Byte* from, std::size_t n) {
    if (from[n - 1] >= 0xC0) return 1;
    return n > 1 && from[n - 2] >= 0xE0 ? 2 : 0;
}

// Decodes the first n bytes (at most 64) and returns the number of units; 0 if not all of the bytes form
// complete sequences.
QBSVR_TARGET_AVX512 inline std::size_t DecodeSequences(const Byte* from, std::size_t n, lkchar* to) {
    const __mmask64 lanes = FirstLanes(n);
    const __m512i bytes = _mm512_maskz_loadu_epi8(lanes, from);
    const __mmask64 high = _mm512_movepi8_mask(bytes);
    if (high == 0) {
        _mm512_storeu_si512(to, _mm512_cvtepu8_epi16(_mm512_castsi512_si256(bytes)));
        if (n > 32) _mm512_storeu_si512(to + 32, _mm512_cvtepu8_epi16(_mm512_extracti64x4_epi64(bytes, 1)));
        return n;
    }
    const std::uint64_t lead = _mm512_cmpge_epu8_mask(bytes, _mm512_set1_epi8(static_cast<char>(0xC0)));
    const std::uint64_t three = _mm512_cmpge_epu8_mask(bytes, _mm512_set1_epi8(static_cast<char>(0xE0)));
    const std::uint64_t tooHigh = _mm512_cmpge_epu8_mask(bytes, _mm512_set1_epi8(static_cast<char>(0xF0)));
    const std::uint64_t continuation = high & ~lead;
    if ((lead << 1 | three << 2) != continuation || tooHigh != 0) return 0;

    const std::uint64_t starts = lanes & ~continuation;
    const __m512i first = _mm512_maskz_compress_epi8(starts, bytes);
    const __m512i second = _mm512_maskz_compress_epi8(starts, _mm512_maskz_loadu_epi8(lanes >> 1, from + 1));
    const __m512i third = _mm512_maskz_compress_epi8(starts, _mm512_maskz_loadu_epi8(lanes >> 2, from + 2));
    const std::uint64_t isTwo = _pext_u64(lead & ~three, starts);
    const std::uint64_t isThree = _pext_u64(three, starts);
    const auto units = static_cast<std::size_t>(_mm_popcnt_u64(starts));
    _mm512_storeu_si512(
        to, Join(_mm512_castsi512_si256(first), _mm512_castsi512_si256(second), _mm512_castsi512_si256(third),
                 static_cast<__mmask32>(isTwo), static_cast<__mmask32>(isThree)));
    if (units > 32) {
        _mm512_storeu_si512(to + 32,
                            Join(_mm512_extracti64x4_epi64(first, 1), _mm512_extracti64x4_epi64(second, 1),
                                 _mm512_extracti64x4_epi64(third, 1), static_cast<__mmask32>(isTwo >> 32),
                                 static_cast<__mmask32>(isThree >> 32)));
    }
    return units;
}

// Sixteen units in lanes of three bytes and a zero; a shorter sequence has zeros before it.
QBSVR_TARGET_AVX512 inline __m512i SpreadSequences(__m512i units) {
    // Bits 12 to 15, 6 to 11 and 0 to 5, in the bytes 0 to 2 of both lanes of 64 bits.
    const __m512i shifts = _mm512_set1_epi64(0x3F'20'26'2C'3F'00'06'0C);
    const __mmask16 multiple = _mm512_cmpge_epu32_mask(units, _mm512_set1_epi32(0x80));
    const __mmask16 three = _mm512_cmpge_epu32_mask(units, _mm512_set1_epi32(0x800));
    const __m512i bits =
        _mm512_and_si512(_mm512_multishift_epi64_epi8(shifts, units), _mm512_set1_epi32(0x003F3F0F));
    const __m512i tags =
        _mm512_mask_mov_epi32(_mm512_set1_epi32(0x0080C000), three, _mm512_set1_epi32(0x008080E0));
    return _mm512_mask_or_epi32(_mm512_slli_epi32(units, 16), multiple, bits, tags);
}

// Encodes sixteen units and returns the end of the bytes.
QBSVR_TARGET_AVX512 inline Byte* EncodeSixteen(__m512i units, __mmask64 lastBytes, Byte* to) {
    const __m512i lanes = SpreadSequences(units);
    const __mmask64 used = _mm512_test_epi8_mask(lanes, lanes) | lastBytes;  // a zero unit is a byte too
    _mm512_storeu_si512(to, _mm512_maskz_compress_epi8(used, lanes));
    return to + _mm_popcnt_u64(used);
}

}  // namespace

QBSVR_TARGET_AVX512 bool DecodeAvx512(const Byte*& from, const Byte* limit, const Byte* end, lkchar*& to) {
    while (from < limit) {
        const std::size_t block = std::min<std::size_t>(64, static_cast<std::size_t>(limit - from));
        const std::size_t whole = block - CutOff(from, block);
        if (const std::size_t units = DecodeSequences(from, whole, to)) {
            from += whole;
            to += units;
            continue;
        }
        const std::size_t bytes = DecodeUnit(from, static_cast<std::size_t>(end - from), *to);
        if (bytes == 0) return false;
        from += bytes;
        ++to;
    }
    return true;
}

QBSVR_TARGET_AVX512 Byte* EncodeAvx512(const lkchar* from, const lkchar* end, Byte* to) {
    constexpr __mmask64 kLastBytes = 0x4444444444444444;
    while (from < end) {
        const std::size_t n = std::min<std::size_t>(32, static_cast<std::size_t>(end - from));
        const __mmask64 lanes = FirstLanes(n);
        const __m512i units = _mm512_maskz_loadu_epi16(static_cast<__mmask32>(lanes), from);
        from += n;
        if (_mm512_cmpge_epu16_mask(units, _mm512_set1_epi16(0x80)) == 0) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), _mm512_cvtepi16_epi8(units));
            to += n;
            continue;
        }
        // Four bytes per unit, of which the third is always used.
        const __mmask64 firstHalf = n < 16 ? FirstLanes(4 * n) : ~0ull;
        to = EncodeSixteen(_mm512_cvtepu16_epi32(_mm512_castsi512_si256(units)), kLastBytes & firstHalf, to);
        if (n <= 16) continue;
        to = EncodeSixteen(_mm512_cvtepu16_epi32(_mm512_extracti64x4_epi64(units, 1)),
                           kLastBytes & FirstLanes(4 * (n - 16)), to);
    }
    return to;
}

}  // namespace larkspur::utf8

#endif

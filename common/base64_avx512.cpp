// Base64, 48 bytes or 64 characters per step. The alphabet and its inverse fit one and two registers, so each
// is a single lookup.
#include "common/internal/base64_kernels.h"

#ifdef QBSVR_VECTOR_KERNELS
#include <immintrin.h>

#include <array>
#include <bit>
#include <cstdint>

namespace larkspur::base64 {

namespace {

using Vector = std::array<Byte, 64>;

// The bytes 1, 0, 2, 1 of each group: in a lane of 32 bits, each six bits of the group are then contiguous.
constexpr auto kGroupLanes = [] {
    alignas(64) Vector lanes{};
    for (std::size_t i = 0; i < 16; ++i) {
        const Byte order[] = {1, 0, 2, 1};
        for (std::size_t k = 0; k < 4; ++k) lanes[4 * i + k] = static_cast<Byte>(3 * i + order[k]);
    }
    return lanes;
}();

// The bytes 2, 1, 0 of each lane of 32 bits.
constexpr auto kLaneBytes = [] {
    Vector bytes{};
    for (std::size_t i = 0; i < 48; ++i) bytes[i] = static_cast<Byte>(i / 3 * 4 + 2 - i % 3);
    return bytes;
}();

constexpr Byte kSkipped = 0x80;
constexpr auto kValues = [] {
    std::array<Byte, 128> values{};
    values.fill(kSkipped);
    for (std::size_t i = 0; i < 64; ++i) values[static_cast<Byte>(kAlphabet[i])] = static_cast<Byte>(i);
    return values;
}();

// The bytes of sixteen groups, from the values of their 64 characters.
QBSVR_TARGET_AVX512 inline __m512i JoinGroups(__m512i values, __m512i laneBytes) {
    const __m512i pairs = _mm512_maddubs_epi16(values, _mm512_set1_epi16(0x0140));   // 64 a + b
    const __m512i groups = _mm512_madd_epi16(pairs, _mm512_set1_epi32(0x00011000));  // 4096 ab + cd
    return _mm512_permutexvar_epi8(laneBytes, groups);
}

}  // namespace

QBSVR_TARGET_AVX512 std::size_t EncodeAvx512(const Byte* data, std::size_t groups, char* out) {
    const __m512i alphabet = _mm512_loadu_si512(kAlphabet);
    const __m512i groupLanes = _mm512_loadu_si512(kGroupLanes.data());
    // Where each six bits start in both lanes of a 64-bit word; the lookup ignores the two bits above them.
    const __m512i starts = _mm512_set1_epi64(0x30'36'24'2A'10'16'04'0A);
    std::size_t done = 0;
    for (; groups - done >= 16; done += 16) {
        const __m512i bytes = _mm512_maskz_loadu_epi8((1ull << 48) - 1, data + 3 * done);
        const __m512i lanes = _mm512_permutexvar_epi8(groupLanes, bytes);
        const __m512i values = _mm512_multishift_epi64_epi8(starts, lanes);
        _mm512_storeu_si512(out + 4 * done, _mm512_permutexvar_epi8(values, alphabet));
    }
    return done;
}

// Other characters are squeezed out, unless a zero is among them: it may be the end.
QBSVR_TARGET_AVX512 void DecodeAvx512(const Byte*& p, const Byte* end, Byte*& out) {
    constexpr std::ptrdiff_t kLeast = 88;  // space for 66 bytes, of which a step writes 64 and uses up to 48
    const __m512i low = _mm512_loadu_si512(kValues.data());
    const __m512i high = _mm512_loadu_si512(kValues.data() + 64);
    const __m512i laneBytes = _mm512_loadu_si512(kLaneBytes.data());
    while (end - p >= kLeast) {
        const __m512i text = _mm512_loadu_si512(p);
        __m512i values = _mm512_permutex2var_epi8(low, text, high);
        const std::uint64_t skipped = _mm512_movepi8_mask(_mm512_or_si512(values, text));
        std::size_t chars = 64;
        std::size_t used = 64;
        if (skipped != 0) {
            values = _mm512_maskz_compress_epi8(~skipped, values);
            chars = static_cast<std::size_t>(std::popcount(~skipped)) & ~std::size_t{3};
            if (chars == 0 || _mm512_testn_epi8_mask(text, text) != 0) return;
            const std::uint64_t lastChar = _pdep_u64(1ull << (chars - 1), ~skipped);
            used = static_cast<std::size_t>(std::countr_zero(lastChar)) + 1;
        }
        _mm512_storeu_si512(out, JoinGroups(values, laneBytes));
        out += chars / 4 * 3;
        p += used;
    }
}

}  // namespace larkspur::base64

#endif

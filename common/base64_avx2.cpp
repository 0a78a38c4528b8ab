// Base64, 24 bytes or 32 characters per step, in two halves of 128 bits.
#include "common/internal/base64_kernels.h"

#ifdef QBSVR_VECTOR_KERNELS
#include <immintrin.h>

#include <array>

namespace larkspur::base64 {

namespace {

using HalfTable = std::array<Byte, 16>;

QBSVR_TARGET_AVX2 inline __m256i InBothHalves(const HalfTable& table) {
    return _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(table.data())));
}

// The bytes 1, 0, 2, 1 of each group: in a lane of 32 bits, each six bits of the group are then contiguous.
constexpr HalfTable kGroupLanes = {1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10};

// The bytes 2, 1, 0 of each lane of 32 bits.
constexpr HalfTable kLaneBytes = {2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, 0x80, 0x80, 0x80, 0x80};

// The distance from a value to its character: for A to Z, a to z, each of the ten digits, "+" and "/".
constexpr HalfTable kToCharacter = [] {
    HalfTable distances{};
    distances[0] = 'A';
    distances[1] = 'a' - 26;
    for (std::size_t i = 2; i < 12; ++i) distances[i] = static_cast<Byte>('0' - 52);
    distances[12] = static_cast<Byte>('+' - 62);
    distances[13] = static_cast<Byte>('/' - 63);
    return distances;
}();

// The distance from a character to its value, by the high four bits; "/" is three less than "+".
constexpr HalfTable kToValue = {0,
                                0,
                                62 - '+',
                                52 - '0',
                                static_cast<Byte>(-'A'),
                                static_cast<Byte>(-'A'),
                                static_cast<Byte>(26 - 'a'),
                                static_cast<Byte>(26 - 'a')};

// A character is in the alphabet if the entries of its low and high four bits have a common bit: a bit of the
// former for each value of the latter.
constexpr HalfTable kHighBits = {1, 2, 4, 8, 16, 32, 64, 128};
constexpr HalfTable kByLowBits = [] {
    HalfTable bits{};
    for (std::size_t i = 0; i < 64; ++i) {
        const auto c = static_cast<Byte>(kAlphabet[i]);
        bits[c & 15] = static_cast<Byte>(bits[c & 15] | kHighBits[c >> 4]);
    }
    return bits;
}();

}  // namespace

QBSVR_TARGET_AVX2 std::size_t EncodeAvx2(const Byte* data, std::size_t groups, char* out) {
    constexpr std::size_t kLeastGroups = 10;  // a step reads 28 bytes
    const __m256i groupLanes = InBothHalves(kGroupLanes);
    const __m256i toCharacter = InBothHalves(kToCharacter);
    std::size_t done = 0;
    for (; groups - done >= kLeastGroups; done += 8) {
        const auto* from = reinterpret_cast<const __m128i*>(data + 3 * done);
        const auto* second = reinterpret_cast<const __m128i*>(data + 3 * done + 12);
        const __m256i lanes =
            _mm256_shuffle_epi8(_mm256_set_m128i(_mm_loadu_si128(second), _mm_loadu_si128(from)), groupLanes);
        // Products shift units of 16 bits by different distances.
        const __m256i even = _mm256_mulhi_epu16(_mm256_and_si256(lanes, _mm256_set1_epi32(0x0FC0FC00)),
                                                _mm256_set1_epi32(0x04000040));
        const __m256i odd = _mm256_mullo_epi16(_mm256_and_si256(lanes, _mm256_set1_epi32(0x003F03F0)),
                                               _mm256_set1_epi32(0x01000010));
        const __m256i values = _mm256_or_si256(even, odd);
        const __m256i fromDigits = _mm256_subs_epu8(values, _mm256_set1_epi8(51));
        const __m256i pastCapitals = _mm256_cmpgt_epi8(values, _mm256_set1_epi8(25));
        const __m256i distances = _mm256_shuffle_epi8(toCharacter, _mm256_sub_epi8(fromDigits, pastCapitals));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 4 * done), _mm256_add_epi8(values, distances));
    }
    return done;
}

// Stops at the first other character.
QBSVR_TARGET_AVX2 void DecodeAvx2(const Byte*& p, const Byte* end, Byte*& out) {
    constexpr std::ptrdiff_t kLeast = 44;  // space for 33 bytes, of which a step writes 32 and uses 24
    const __m256i byLowBits = InBothHalves(kByLowBits);
    const __m256i highBits = InBothHalves(kHighBits);
    const __m256i toValue = InBothHalves(kToValue);
    const __m256i laneBytes = InBothHalves(kLaneBytes);
    for (; end - p >= kLeast; p += 32, out += 24) {
        const __m256i text = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
        const __m256i high = _mm256_and_si256(_mm256_srli_epi32(text, 4), _mm256_set1_epi8(15));
        // From 0x80 on, the first lookup gives zero.
        const __m256i common =
            _mm256_and_si256(_mm256_shuffle_epi8(byLowBits, text), _mm256_shuffle_epi8(highBits, high));
        if (_mm256_movemask_epi8(_mm256_cmpeq_epi8(common, _mm256_setzero_si256())) != 0) return;
        const __m256i isSlash = _mm256_cmpeq_epi8(text, _mm256_set1_epi8('/'));
        const __m256i distances = _mm256_add_epi8(_mm256_shuffle_epi8(toValue, high),
                                                  _mm256_and_si256(isSlash, _mm256_set1_epi8(-3)));
        const __m256i values = _mm256_add_epi8(text, distances);
        const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi16(0x0140));  // 64 a + b
        const __m256i lanes = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));  // 4096 ab + cd
        const __m256i halves = _mm256_shuffle_epi8(lanes, laneBytes);
        const __m256i bytes = _mm256_permutevar8x32_epi32(halves, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), bytes);
    }
}

}  // namespace larkspur::base64

#endif

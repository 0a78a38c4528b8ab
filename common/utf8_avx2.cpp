// UTF-8 and 16-bit text, up to 32 bytes per step.
//
// Decoding: the lead bytes of 32 bytes form a bit mask, of which the bits of a window of eight bytes choose a
// shuffle: it brings the last two bytes of each sequence, and the first of three, into the lane of its unit.
// Encoding: every unit becomes a lane of three bytes, and a shuffle drops the ones that it doesn't need.
#include "common/internal/utf8_kernels.h"

#ifdef QBSVR_VECTOR_KERNELS
#include <immintrin.h>

#include <array>
#include <bit>
#include <cstdint>

namespace larkspur::utf8 {

namespace {

constexpr Byte kZero = 0x80;  // an index for which a shuffle gives zero

struct alignas(16) Shuffle {
    std::array<Byte, 16> index;
};

// The shuffles for the sequences that are complete in a window of eight bytes, which starts with a lead byte.
struct DecodeWindow {
    Shuffle ends;    // the last byte of each unit, and the byte before it
    Shuffle starts;  // the first byte of three
    Byte bytes;      // of the sequences
    Byte units;
};

// By the continuation bits of the bytes 1 to 8.
constexpr auto kDecodeWindows = [] {
    std::array<DecodeWindow, 256> windows{};
    for (unsigned int bits = 0; bits < 256; ++bits) {
        DecodeWindow& window = windows[bits];
        window.ends.index.fill(kZero);
        window.starts.index.fill(kZero);
        const auto isContinuation = [bits](unsigned int at) { return (bits << 1 >> at & 1) != 0; };
        for (unsigned int start = 0; start < 8;) {
            unsigned int next = start + 1;
            while (next <= 8 && isContinuation(next)) ++next;
            if (next > 8 || next - start > 3) break;
            const std::size_t lane = 2 * window.units++;
            window.ends.index[lane] = static_cast<Byte>(next - 1);
            if (next - start > 1) window.ends.index[lane + 1] = static_cast<Byte>(next - 2);
            if (next - start > 2) window.starts.index[lane] = static_cast<Byte>(start);
            window.bytes = static_cast<Byte>(next);
            start = next;
        }
    }
    return windows;
}();

// Eight three-byte sequences: four from the bytes at 0, and four from those at 8.
constexpr std::uint32_t kEightOfThree = 0b110110110110110110110110;
constexpr auto kOfThree = [] {
    std::array<DecodeWindow, 2> halves{};
    for (unsigned int half = 0; half < 2; ++half) {
        halves[half].ends.index.fill(kZero);
        halves[half].starts.index.fill(kZero);
        for (unsigned int i = 0; i < 4; ++i) {
            const std::size_t lane = 8 * half + 2 * i;
            const auto start = static_cast<Byte>(4 * half + 3 * i);
            halves[half].ends.index[lane] = static_cast<Byte>(start + 2);
            halves[half].ends.index[lane + 1] = static_cast<Byte>(start + 1);
            halves[half].starts.index[lane] = start;
        }
    }
    return halves;
}();

// By two bits for each of four units, a lane of four bytes each: whether it has a second and a third byte.
struct EncodeLanes {
    Shuffle used;
    Byte bytes;
};
constexpr auto kEncodeLanes = [] {
    std::array<EncodeLanes, 256> all{};
    for (unsigned int bits = 0; bits < 256; ++bits) {
        EncodeLanes& lanes = all[bits];
        lanes.used.index.fill(kZero);
        for (unsigned int lane = 0; lane < 4; ++lane) {
            const bool isMultiple = (bits >> lane & 1) != 0;
            const bool isThree = (bits >> (4 + lane) & 1) != 0;
            for (unsigned int at = isThree ? 0 : isMultiple ? 1 : 2; at < 3; ++at) {
                lanes.used.index[lanes.bytes++] = static_cast<Byte>(4 * lane + at);
            }
        }
    }
    return all;
}();

QBSVR_TARGET_AVX2 inline __m128i Load(const void* from) {
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

QBSVR_TARGET_AVX2 inline __m128i ShuffleBy(__m128i bytes, const Shuffle& shuffle) {
    return _mm_shuffle_epi8(bytes, _mm_load_si128(reinterpret_cast<const __m128i*>(shuffle.index.data())));
}

// Eight units. Seven bits of the last byte are right for one byte and for a continuation byte; six bits of
// the byte before it, for a continuation byte and for the first of two.
QBSVR_TARGET_AVX2 inline void StoreUnits(__m128i ends, __m128i starts, lkchar* to) {
    const __m128i last = _mm_and_si128(ends, _mm_set1_epi16(0x7F));
    const __m128i before = _mm_and_si128(_mm_srli_epi16(ends, 2), _mm_set1_epi16(0x0FC0));
    const __m128i first = _mm_slli_epi16(starts, 12);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_or_si128(_mm_or_si128(last, before), first));
}

QBSVR_TARGET_AVX2 inline std::uint32_t BytesFrom(__m256i bytes, int least) {
    const __m256i limit = _mm256_set1_epi8(static_cast<char>(least));
    return static_cast<std::uint32_t>(
        _mm256_movemask_epi8(_mm256_cmpeq_epi8(_mm256_max_epu8(bytes, limit), bytes)));
}

// Decodes some of 48 bytes, of which the first starts a sequence, and advances. Returns false if one
// of the first 32 doesn't belong to a well-formed sequence.
QBSVR_TARGET_AVX2 inline bool DecodeStep(const Byte*& from, lkchar*& to) {
    const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
    const auto high = static_cast<std::uint32_t>(_mm256_movemask_epi8(bytes));
    if (high == 0) {
        const __m256i low = _mm256_cvtepu8_epi16(_mm256_castsi256_si128(bytes));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), low);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to + 16),
                            _mm256_cvtepu8_epi16(_mm256_extracti128_si256(bytes, 1)));
        from += 32;
        to += 32;
        return true;
    }
    const std::uint32_t lead = BytesFrom(bytes, 0xC0);
    const std::uint32_t three = BytesFrom(bytes, 0xE0);
    const std::uint32_t continuation = high & ~lead;
    if ((lead << 1 | three << 2) != continuation || BytesFrom(bytes, 0xF0) != 0) return false;

    if ((continuation & 0xFFFFFF) == kEightOfThree) {
        const __m128i low = Load(from);
        const __m128i high8 = Load(from + 8);
        StoreUnits(_mm_or_si128(ShuffleBy(low, kOfThree[0].ends), ShuffleBy(high8, kOfThree[1].ends)),
                   _mm_or_si128(ShuffleBy(low, kOfThree[0].starts), ShuffleBy(high8, kOfThree[1].starts)),
                   to);
        from += 24;
        to += 8;
        return true;
    }
    // Three windows always fit. A loop whose count depends on the text would be predicted badly.
    std::size_t at = 0;
    for (int i = 0; i < 3; ++i) {
        const DecodeWindow& window = kDecodeWindows[continuation >> (at + 1) & 0xFF];
        const __m128i sequences = Load(from + at);
        StoreUnits(ShuffleBy(sequences, window.ends), ShuffleBy(sequences, window.starts), to);
        at += window.bytes;
        to += window.units;
    }
    from += at;
    return true;
}

// Encodes four units in lanes of three bytes, a shorter sequence at the end of its lane.
QBSVR_TARGET_AVX2 inline Byte* EncodeFour(__m128i lanes, unsigned int multiple, unsigned int three,
                                          Byte* to) {
    const EncodeLanes& chosen = kEncodeLanes[(multiple & 0xF) | (three & 0xF) << 4];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), ShuffleBy(lanes, chosen.used));
    return to + chosen.bytes;
}

QBSVR_TARGET_AVX2 inline Byte* EncodeEight(__m128i units, Byte* to) {
    const __m256i wide = _mm256_cvtepu16_epi32(units);
    const __m256i isMultiple = _mm256_cmpgt_epi32(wide, _mm256_set1_epi32(0x7F));
    const __m256i isThree = _mm256_cmpgt_epi32(wide, _mm256_set1_epi32(0x7FF));
    const __m256i first = _mm256_srli_epi32(wide, 12);
    const __m256i second = _mm256_and_si256(_mm256_slli_epi32(wide, 2), _mm256_set1_epi32(0x3F00));
    const __m256i last = _mm256_slli_epi32(wide, 16);
    const __m256i bits =
        _mm256_or_si256(_mm256_or_si256(first, second), _mm256_and_si256(last, _mm256_set1_epi32(0x3F0000)));
    const __m256i tags =
        _mm256_blendv_epi8(_mm256_set1_epi32(0x80C000), _mm256_set1_epi32(0x8080E0), isThree);
    const __m256i lanes = _mm256_blendv_epi8(last, _mm256_or_si256(bits, tags), isMultiple);
    const auto multiple = static_cast<unsigned int>(_mm256_movemask_ps(_mm256_castsi256_ps(isMultiple)));
    const auto three = static_cast<unsigned int>(_mm256_movemask_ps(_mm256_castsi256_ps(isThree)));
    to = EncodeFour(_mm256_castsi256_si128(lanes), multiple, three, to);
    return EncodeFour(_mm256_extracti128_si256(lanes, 1), multiple >> 4, three >> 4, to);
}

}  // namespace

QBSVR_TARGET_AVX2 bool DecodeAvx2(const Byte*& from, const Byte* limit, const Byte* end, lkchar*& to) {
    while (limit - from >= 48) {
        if (DecodeStep(from, to)) continue;
        const std::size_t bytes = DecodeUnit(from, static_cast<std::size_t>(end - from), *to);
        if (bytes == 0) return false;
        from += bytes;
        ++to;
    }
    return DecodePlain(from, limit, end, to);
}

QBSVR_TARGET_AVX2 Byte* EncodeAvx2(const lkchar* from, const lkchar* end, Byte* to) {
    for (; end - from >= 16; from += 16) {
        const __m128i units = Load(from);
        const __m128i next = Load(from + 8);
        if (_mm_testz_si128(_mm_or_si128(units, next), _mm_set1_epi16(static_cast<short>(0xFF80)))) {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_packus_epi16(units, next));
            to += 16;
            continue;
        }
        to = EncodeEight(units, to);
        to = EncodeEight(next, to);
    }
    return EncodePlain(from, end, to);
}

}  // namespace larkspur::utf8

#endif

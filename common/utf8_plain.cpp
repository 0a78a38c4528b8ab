// UTF-8 and 16-bit text, by runs of ASCII and of three-byte sequences, such as Chinese. Everything else is
// converted unit by unit.
#include "common/internal/utf8_kernels.h"

#include <bit>
#include <cstdint>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace larkspur::utf8 {

namespace {

// ---- Runs of ASCII. The copies may write more than the count that they return, up to n.

// Copies the bytes below 0x80 at the start of a block as units and returns how many.
std::size_t WidenAscii(const Byte* from, std::size_t n, lkchar* to) {
    std::size_t i = 0;
#ifdef __SSE2__
    const __m128i zero = _mm_setzero_si128();
    const auto load = [from](std::size_t at) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + at));
    };
    const auto widen = [to, zero](__m128i bytes, std::size_t at) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + at), _mm_unpacklo_epi8(bytes, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + at + 8), _mm_unpackhi_epi8(bytes, zero));
    };
    while (i + 16 <= n) {
        const __m128i bytes = load(i);
        widen(bytes, i);
        const int high = _mm_movemask_epi8(bytes);
        if (high != 0) return i + static_cast<std::size_t>(std::countr_zero(static_cast<unsigned int>(high)));
        // After 16 such bytes, a long run is likely.
        for (i += 16; i + 64 <= n; i += 64) {
            const __m128i blocks[4] = {load(i), load(i + 16), load(i + 32), load(i + 48)};
            const __m128i any =
                _mm_or_si128(_mm_or_si128(blocks[0], blocks[1]), _mm_or_si128(blocks[2], blocks[3]));
            if (_mm_movemask_epi8(any) != 0) break;
            for (std::size_t k = 0; k < 4; ++k) widen(blocks[k], i + 16 * k);
        }
    }
#endif
    for (; i < n && from[i] < 0x80; ++i) to[i] = from[i];
    return i;
}

// Copies the units below 0x80 at the start of a block as bytes and returns how many.
std::size_t NarrowAscii(const lkchar* from, std::size_t n, Byte* to) {
    std::size_t i = 0;
#ifdef __SSE2__
    const __m128i notAscii = _mm_set1_epi16(static_cast<short>(0xFF80));
    const __m128i zero = _mm_setzero_si128();
    for (; i + 16 <= n; i += 16) {
        const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + i));
        const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + i + 8));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + i), _mm_packus_epi16(low, high));
        const __m128i isAscii = _mm_packs_epi16(_mm_cmpeq_epi16(_mm_and_si128(low, notAscii), zero),
                                                _mm_cmpeq_epi16(_mm_and_si128(high, notAscii), zero));
        const auto ascii = static_cast<unsigned int>(_mm_movemask_epi8(isAscii));
        if (ascii != 0xFFFF) return i + static_cast<std::size_t>(std::countr_one(ascii));
    }
#endif
    for (; i < n && from[i] < 0x80; ++i) to[i] = static_cast<Byte>(from[i]);
    return i;
}

// ---- Runs of three-byte sequences, such as Chinese: two at a time in the low 48 bits of a 64-bit word.

constexpr bool kLittleEndian = std::endian::native == std::endian::little;
constexpr std::uint64_t kBothLanes = 0x000001000001;  // a factor that puts a value into both 24-bit lanes

bool LoadsTwoSequences(const Byte* from, std::uint64_t& word) {
    std::memcpy(&word, from, sizeof word);
    return (word & (0xC0C0F0 * kBothLanes)) == 0x8080E0 * kBothLanes;
}

// Decodes such pairs and returns the bytes used, three for each unit written.
std::size_t DecodeThreeByteRun(const Byte* from, std::size_t n, lkchar* to) {
    std::size_t i = 0;
    if constexpr (kLittleEndian) {
        std::uint64_t word;
        for (; i + 8 <= n && LoadsTwoSequences(from + i, word); i += 6, to += 2) {
            const std::uint64_t lanes = (word << 12 & 0xF000 * kBothLanes) |
                                        (word >> 2 & 0x0FC0 * kBothLanes) |
                                        (word >> 16 & 0x003F * kBothLanes);
            const auto units = static_cast<std::uint32_t>((lanes & 0xFFFF) | (lanes >> 8 & 0xFFFF0000));
            std::memcpy(to, &units, sizeof units);
        }
    }
    return i;
}

// Encodes pairs of units from 0x800 up, three bytes each, and returns the units used. Skips the last three
// units of a block, so that stores of eight bytes stay within three bytes per unit.
std::size_t EncodeThreeByteRun(const lkchar* from, std::size_t n, Byte* to) {
    std::size_t i = 0;
    if constexpr (kLittleEndian) {
        for (; i + 3 < n; i += 2, to += 6) {
            std::uint32_t units;
            std::memcpy(&units, from + i, sizeof units);
            if ((units & 0xF800) == 0 || (units & 0xF8000000) == 0) break;
            const std::uint64_t lanes = (units & 0xFFFF) | static_cast<std::uint64_t>(units & 0xFFFF0000)
                                                               << 8;
            const std::uint64_t word = 0x8080E0 * kBothLanes | (lanes >> 12 & 0x00000F * kBothLanes) |
                                       (lanes << 2 & 0x003F00 * kBothLanes) |
                                       (lanes << 16 & 0x3F0000 * kBothLanes);
            std::memcpy(to, &word, sizeof word);
        }
    }
    return i;
}

}  // namespace

bool DecodePlain(const Byte*& from, const Byte* limit, const Byte* end, lkchar*& to) {
    while (from < limit) {
        const auto left = static_cast<std::size_t>(limit - from);
        if (*from < 0x80) {
            const std::size_t units = WidenAscii(from, left, to);
            from += units;
            to += units;
            continue;
        }
        if (*from >= 0xE0) {
            const std::size_t bytes = DecodeThreeByteRun(from, left, to);
            from += bytes;
            to += bytes / 3;
            if (bytes > 0) continue;
        }
        const std::size_t bytes = DecodeUnit(from, static_cast<std::size_t>(end - from), *to);
        if (bytes == 0) return false;
        from += bytes;
        ++to;
    }
    return true;
}

Byte* EncodePlain(const lkchar* from, const lkchar* end, Byte* to) {
    while (from < end) {
        const auto left = static_cast<std::size_t>(end - from);
        std::size_t units = 0;
        if (*from < 0x80) {
            units = NarrowAscii(from, left, to);
            to += units;
        } else if (*from >= 0x800) {
            units = EncodeThreeByteRun(from, left, to);
            to += 3 * units;
        }
        if (units == 0) {
            to += EncodeUnit(*from, to);
            units = 1;
        }
        from += units;
    }
    return to;
}

}  // namespace larkspur::utf8

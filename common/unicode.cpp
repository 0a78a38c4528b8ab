#include "common/unicode.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstdint>
#include <cstring>
#include <new>

#include "common/errors.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace larkspur {

namespace {

using Byte = unsigned char;

bool IsContinuation(Byte byte) { return (byte & 0xC0) == 0x80; }

// The length of the sequence with this lead byte; 0 for continuation bytes and everything from 0xF0 up.
std::size_t SequenceLength(Byte lead) {
    if (lead < 0x80) return 1;
    if (lead < 0xC0) return 0;
    if (lead < 0xE0) return 2;
    return lead < 0xF0 ? 3 : 0;
}

// ---- Runs of ASCII. The copies may write more than the count that they return, up to n.

// The number of bytes below 0x80 at the start of a block.
std::size_t AsciiLength(const Byte* from, std::size_t n) {
    std::size_t i = 0;
#ifdef __SSE2__
    for (; i + 16 <= n; i += 16) {
        const int high = _mm_movemask_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from + i)));
        if (high != 0) return i + static_cast<std::size_t>(std::countr_zero(static_cast<unsigned int>(high)));
    }
#endif
    while (i < n && from[i] < 0x80) ++i;
    return i;
}

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

// The number of bytes in whole pairs of three-byte sequences at the start of a block.
std::size_t ThreeByteLength(const Byte* from, std::size_t n) {
    std::size_t i = 0;
    if constexpr (kLittleEndian) {
        std::uint64_t word;
        while (i + 8 <= n && LoadsTwoSequences(from + i, word)) i += 6;
    }
    return i;
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

// ---- Single units

// Decodes the sequence at the start of n bytes (at least 1) and returns its length, or 0 if it is invalid or
// cut off. The second byte of a two-byte sequence is not examined, and overlong forms are accepted. Lone
// surrogates survive a round trip.
std::size_t DecodeUnit(const Byte* from, std::size_t n, lkchar& out) {
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
            if (!IsContinuation(from[1]) || !IsContinuation(from[2])) return 0;
            out = static_cast<lkchar>((from[0] & 0x0F) << 12 | (from[1] & 0x3F) << 6 | (from[2] & 0x3F));
            break;
        default:
            break;
    }
    return length;
}

std::size_t EncodeUnit(lkchar unit, Byte* to) {
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

// ---- Blocks

// Decodes the sequences that start before `limit`; the last one may extend to `end`. Advances `from` and
// `to`, and returns false at an invalid sequence. The output has space for one unit per byte.
bool DecodeBlock(const Byte*& from, const Byte* limit, const Byte* end, lkchar*& to) {
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

// Encodes n units and returns the end of the bytes. The output has space for three bytes per unit.
Byte* EncodeBlock(const lkchar* from, std::size_t n, Byte* to) {
    const lkchar* const end = from + n;
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

// ---- Whole texts: chunk by chunk, with output space estimated from the earlier chunks

constexpr std::size_t kChunk = 4096;

// The estimated output size of n input units, of which the first `done` took `size`.
std::size_t EstimateSize(std::size_t size, std::size_t done, std::size_t n) {
    const double each = done == 0 ? 0 : static_cast<double>(size) / static_cast<double>(done);
    return size + static_cast<std::size_t>(each * static_cast<double>(n - done));
}

// The converters request space for a chunk, with an estimate of the whole, and then commit the part that they
// used.

// Writes into a memory block that ends in a zero unit.
template <typename Unit>
class MemoryOutput {
public:
    Unit* Room(std::size_t units, std::size_t estimate) {
        const std::size_t have = static_cast<std::size_t>(m_Block.Size()) / sizeof(Unit);
        const std::size_t least = m_Size + units + 1;
        if (least > have)
            SetUnits(std::max(least, std::min(std::max(estimate + 1, have + have / 4), kMostUnits)));
        return Units() + m_Size;
    }
    void Use(std::size_t units) { m_Size += units; }
    std::size_t Size() const { return m_Size; }

    void Finish(ClkMemory& out) {
        SetUnits(m_Size + 1);
        Units()[m_Size] = 0;
        out.Swap(m_Block);
    }

private:
    static constexpr std::size_t kMostUnits = INT_MAX / sizeof(Unit);

    void SetUnits(std::size_t units) {
        if (units > kMostUnits) throw std::bad_alloc();
        m_Block.SetSize(static_cast<int>(units * sizeof(Unit)));
    }
    Unit* Units() { return static_cast<Unit*>(m_Block.Data()); }

    ClkMemory m_Block;
    std::size_t m_Size = 0;
};

// Writes into a string. A string can't grow without being filled, so chunks pass through a buffer that stays
// in the first-level cache.
template <typename Text, std::size_t room>
class StringOutput {
public:
    typename Text::value_type* Room(std::size_t, std::size_t estimate) {
        m_Estimate = estimate;
        return m_Chunk;
    }
    void Use(std::size_t units) {
        const std::size_t newSize = m_Text.size() + units;
        if (newSize > m_Text.capacity()) m_Text.reserve(std::max(newSize, m_Estimate));
        m_Text.append(m_Chunk, units);
    }
    std::size_t Size() const { return m_Text.size(); }
    Text Finish() { return std::move(m_Text); }

private:
    Text m_Text;
    std::size_t m_Estimate = 0;
    typename Text::value_type m_Chunk[room];
};

template <typename Output>
bool DecodeText(const char* text, int n, Output& output) {
    if (text == nullptr || n < 1) return true;
    const auto size = static_cast<std::size_t>(n);
    const auto* const start = reinterpret_cast<const Byte*>(text);
    for (std::size_t done = 0; done < size;) {
        const std::size_t chunk = std::min(kChunk, size - done);
        lkchar* const units = output.Room(chunk, EstimateSize(output.Size(), done, size));
        lkchar* to = units;
        const Byte* from = start + done;
        if (!DecodeBlock(from, from + chunk, start + size, to)) return false;
        output.Use(static_cast<std::size_t>(to - units));
        done = static_cast<std::size_t>(from - start);
    }
    return true;
}

template <typename Output>
void EncodeText(const lkchar* text, int n, Output& output) {
    if (text == nullptr || n < 1) return;
    const auto size = static_cast<std::size_t>(n);
    for (std::size_t done = 0; done < size;) {
        const std::size_t chunk = std::min(kChunk, size - done);
        auto* const bytes =
            reinterpret_cast<Byte*>(output.Room(3 * chunk, EstimateSize(output.Size(), done, size)));
        output.Use(static_cast<std::size_t>(EncodeBlock(text + done, chunk, bytes) - bytes));
        done += chunk;
    }
}

}  // namespace

int UnicodeCharToUtf8(lkchar unit, char* to, int) {
    return static_cast<int>(EncodeUnit(unit, reinterpret_cast<Byte*>(to)));
}

int Utf8ToUnicodeChar(const char* text, lkchar& out) {
    if (text == nullptr) text = gc_char_empty;
    // The zero byte ends a truncated sequence: no byte after an invalid one is read.
    return static_cast<int>(DecodeUnit(reinterpret_cast<const Byte*>(text), 3, out));
}

bool DetectIsUTF8(const void* data, int n) {
    const auto* from = static_cast<const Byte*>(data);
    std::size_t left = data == nullptr || n < 1 ? 0 : static_cast<std::size_t>(n);
    while (left > 0) {
        std::size_t length = AsciiLength(from, left);
        if (length == 0) length = ThreeByteLength(from, left);
        if (length == 0) {
            length = SequenceLength(*from);
            if (length == 0) return false;
            if (length > left) return true;
            if (!std::all_of(from + 1, from + length, IsContinuation)) return false;
        }
        from += length;
        left -= length;
    }
    return true;
}

bool IsValidUtf8Str(const char* text, int n) {
    // Some lead bytes restrict the second byte; after the others, it is not examined.
    const auto isPair = [](Byte lead, Byte second) {
        switch (lead) {
            case 0xE0:
                return second >= 0xA0 && second <= 0xBF;
            case 0xED:
                return second >= 0x80 && second <= 0x9F;
            case 0xF0:
                return second >= 0x90 && second <= 0xBF;
            case 0xF4:
                return second >= 0x80 && second <= 0x8F;
            default:
                return lead >= 0xC2 && lead <= 0xF3;
        }
    };
    const auto* from = reinterpret_cast<const Byte*>(text);
    const Byte* const end = text == nullptr || n < 1 ? from : from + n;
    while (from < end) {
        if (*from < 0x80) {
            ++from;
            continue;
        }
        if (end - from < 2 || !isPair(from[0], from[1])) return false;
        from += 2;
    }
    return true;
}

void Utf8ToUnicode(const char* text, int n, ClkMemory& out) {
    MemoryOutput<lkchar> output;
    if (DecodeText(text, n, output)) {
        output.Finish(out);
    } else {
        MemoryOutput<lkchar>().Finish(out);
    }
}

lkstr Utf8ToUnicode(const char* text, int n) {
    StringOutput<lkstr, kChunk> output;
    if (!DecodeText(text, n, output)) return lkstr();
    return output.Finish();
}

void Utf8ToUnicode(const char* text, int n, lkstr& out) { out = Utf8ToUnicode(text, n); }

void UnicodeToUtf8(const lkchar* text, int n, ClkMemory& out) {
    MemoryOutput<Byte> output;
    EncodeText(text, n, output);
    output.Finish(out);
}

str UnicodeToUtf8(const lkchar* text, int n) {
    StringOutput<str, 3 * kChunk> output;
    EncodeText(text, n, output);
    return output.Finish();
}

void UnicodeToUtf8(const lkchar* text, int n, str& out) { out = UnicodeToUtf8(text, n); }

void MbsToUnicode(const char* text, int n, ClkMemory& out) { Utf8ToUnicode(text, n, out); }
void MbsToUnicode(const char* text, int n, lkstr& out) { Utf8ToUnicode(text, n, out); }
lkstr MbsToUnicode(const char* text, int n) { return Utf8ToUnicode(text, n); }

void UnicodeToMbs(const lkchar*, int, ClkMemory&) { throw ClkException(LKExceptionFunction, "UnicodeToMbs"); }
void UnicodeToMbs(const lkchar*, int, str&) { throw ClkException(LKExceptionFunction, "UnicodeToMbs"); }
str UnicodeToMbs(const lkchar*, int) { throw ClkException(LKExceptionFunction, "UnicodeToMbs"); }

}  // namespace larkspur

#include "common/unicode.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstdint>
#include <cstring>
#include <new>

#include "common/errors.h"
#include "common/internal/utf8_kernels.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace larkspur {

namespace {

using utf8::Byte;
using utf8::DecodeUnit;
using utf8::EncodeUnit;
using utf8::SequenceLength;

bool IsContinuation(Byte byte) { return (byte & 0xC0) == 0x80; }

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

// The number of bytes in whole pairs of three-byte sequences, such as Chinese, at the start of a block.
std::size_t ThreeByteLength(const Byte* from, std::size_t n) {
    constexpr std::uint64_t kBothLanes = 0x000001000001;
    std::size_t i = 0;
    if constexpr (std::endian::native == std::endian::little) {
        for (std::uint64_t word; i + 8 <= n; i += 6) {
            std::memcpy(&word, from + i, sizeof word);
            if ((word & (0xC0C0F0 * kBothLanes)) != 0x8080E0 * kBothLanes) break;
        }
    }
    return i;
}

// ---- Whole texts

// A string can't grow without being filled, so its text passes through a buffer of this size, which stays in
// the first-level cache. The size of a longer text is counted first.
constexpr std::size_t kChunk = 4096;

// At least the units of UTF-8, up to the first invalid sequence: every byte may start one, except continuation
// bytes.
std::size_t CountUnits(const char* text, std::size_t n) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < n;) {
        Byte ofBlock = 0;  // a byte, which makes the fastest vectors
        for (const std::size_t stop = std::min(n, i + 255); i < stop; ++i) {
            ofBlock = static_cast<Byte>(ofBlock + (static_cast<signed char>(text[i]) >= -0x40));
        }
        count += ofBlock;
    }
    return count;
}

std::size_t CountBytes(const lkchar* text, std::size_t n) {
    std::size_t count = n;
    for (std::size_t i = 0; i < n;) {
        lkchar further = 0;
        for (const std::size_t stop = std::min(n, i + kChunk); i < stop; ++i) {
            further = static_cast<lkchar>(further + (text[i] >= 0x80) + (text[i] >= 0x800));
        }
        count += further;
    }
    return count;
}

// A block that ends in a zero unit. Allocates space for `size` units and the slack of the kernels; `write` gets
// its start and returns the end of what it has written.
template <typename Unit, typename Write>
void FillMemory(ClkMemory& out, std::size_t size, Write write) {
    const auto setUnits = [](ClkMemory& block, std::size_t units) {
        if (units > INT_MAX / sizeof(Unit)) throw std::bad_alloc();
        block.SetSize(static_cast<int>(units * sizeof(Unit)));
    };
    ClkMemory block;  // the text may be in `out`
    setUnits(block, size + utf8::kSlack + 1);
    auto* const begin = static_cast<Unit*>(block.Data());
    Unit* const end = write(begin);
    *end = 0;
    setUnits(block, static_cast<std::size_t>(end - begin) + 1);
    out.Swap(block);
}

std::size_t SizeOf(const void* text, int n) {
    return text == nullptr || n < 1 ? 0 : static_cast<std::size_t>(n);
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
    const std::size_t size = SizeOf(text, n);
    FillMemory<lkchar>(out, size > kChunk ? CountUnits(text, size) : size, [text, size](lkchar* begin) {
        const auto* from = reinterpret_cast<const Byte*>(text);
        const Byte* const end = from + size;
        lkchar* to = begin;
        return utf8::KernelsFor(BestVectorLevel()).decode(from, end, end, to) ? to : begin;
    });
}

lkstr Utf8ToUnicode(const char* text, int n) {
    lkstr units;
    const std::size_t size = SizeOf(text, n);
    const auto* from = reinterpret_cast<const Byte*>(text);
    const Byte* const end = from + size;
    const auto decode = utf8::KernelsFor(BestVectorLevel()).decode;
    if (size > kChunk) units.reserve(CountUnits(text, size));
    while (from < end) {
        lkchar chunk[kChunk + utf8::kSlack];
        lkchar* to = chunk;
        if (!decode(from, from + std::min<std::ptrdiff_t>(kChunk, end - from), end, to)) return lkstr();
        units.append(chunk, to);
    }
    return units;
}

void Utf8ToUnicode(const char* text, int n, lkstr& out) { out = Utf8ToUnicode(text, n); }

void UnicodeToUtf8(const lkchar* text, int n, ClkMemory& out) {
    const std::size_t size = SizeOf(text, n);
    FillMemory<Byte>(out, size > kChunk ? CountBytes(text, size) : 3 * size, [text, size](Byte* begin) {
        return utf8::KernelsFor(BestVectorLevel()).encode(text, text + size, begin);
    });
}

str UnicodeToUtf8(const lkchar* text, int n) {
    str bytes;
    const std::size_t size = SizeOf(text, n);
    const auto encode = utf8::KernelsFor(BestVectorLevel()).encode;
    if (size > kChunk) bytes.reserve(CountBytes(text, size));
    for (std::size_t done = 0; done < size;) {
        Byte chunk[3 * kChunk + utf8::kSlack];
        const lkchar* const from = text + done;
        const std::size_t units = std::min(kChunk, size - done);
        bytes.append(chunk, encode(from, from + units, chunk));
        done += units;
    }
    return bytes;
}

void UnicodeToUtf8(const lkchar* text, int n, str& out) { out = UnicodeToUtf8(text, n); }

void MbsToUnicode(const char* text, int n, ClkMemory& out) { Utf8ToUnicode(text, n, out); }
void MbsToUnicode(const char* text, int n, lkstr& out) { Utf8ToUnicode(text, n, out); }
lkstr MbsToUnicode(const char* text, int n) { return Utf8ToUnicode(text, n); }

void UnicodeToMbs(const lkchar*, int, ClkMemory&) { throw ClkException(LKExceptionFunction, "UnicodeToMbs"); }
void UnicodeToMbs(const lkchar*, int, str&) { throw ClkException(LKExceptionFunction, "UnicodeToMbs"); }
str UnicodeToMbs(const lkchar*, int) { throw ClkException(LKExceptionFunction, "UnicodeToMbs"); }

}  // namespace larkspur

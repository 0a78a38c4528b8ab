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

// ---- Whole texts, chunk by chunk

constexpr std::size_t kChunk = 4096;

// The units that these bytes become: every byte starts one, except continuation bytes.
std::size_t CountOutput(const char* text, std::size_t n) {
    return static_cast<std::size_t>(
        std::count_if(text, text + n, [](char c) { return static_cast<signed char>(c) >= -0x40; }));
}

// The bytes that these units become.
std::size_t CountOutput(const lkchar* text, std::size_t n) {
    std::size_t count = n;
    for (std::size_t i = 0; i < n; ++i) count += (text[i] >= 0x80 ? 1u : 0u) + (text[i] >= 0x800 ? 1u : 0u);
    return count;
}

// The expected size of the output. Long texts are sampled, since reading them twice would cost more than a
// block that has to grow.
template <typename Unit>
std::size_t ExpectedOutput(const Unit* text, std::size_t n) {
    constexpr std::size_t kSamples = 32;
    constexpr std::size_t kSample = 256;
    if (n <= kSamples * kSample) return CountOutput(text, n);
    std::size_t count = 0;
    for (std::size_t i = 0; i < kSamples; ++i) {
        count += CountOutput(text + (n - kSample) / (kSamples - 1) * i, kSample);
    }
    const double each = static_cast<double>(count) / (kSamples * kSample);
    return each == 1 ? n : static_cast<std::size_t>(1.05 * each * static_cast<double>(n));
}

// The converters announce the size of a long text, and then, for each chunk, request space and commit the
// part that they used.

// Writes into a memory block that ends in a zero unit.
template <typename Unit>
class MemoryOutput {
public:
    void Expect(std::size_t units) { m_Expected = units; }
    Unit* Room(std::size_t units) {
        const std::size_t have = static_cast<std::size_t>(m_Block.Size()) / sizeof(Unit);
        const std::size_t least = m_Size + units + utf8::kSlack + 1;
        if (least > have) {
            const std::size_t wanted = std::max(m_Expected + utf8::kSlack + 1, have + have / 4);
            SetUnits(std::max(least, std::min(wanted, kMostUnits)));
        }
        return Units() + m_Size;
    }
    void Use(std::size_t units) { m_Size += units; }

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
    std::size_t m_Expected = 0;
};

// Writes into a string. A string can't grow without being filled, so chunks pass through a buffer that stays
// in the first-level cache.
template <typename Text, std::size_t room>
class StringOutput {
public:
    void Expect(std::size_t units) { m_Text.reserve(units); }
    typename Text::value_type* Room(std::size_t) { return m_Chunk; }
    void Use(std::size_t units) { m_Text.append(m_Chunk, units); }
    Text Finish() { return std::move(m_Text); }

private:
    Text m_Text;
    typename Text::value_type m_Chunk[room + utf8::kSlack];
};

template <typename Output>
bool DecodeText(const char* text, int n, Output& output) {
    if (text == nullptr || n < 1) return true;
    const auto decode = utf8::KernelsFor(BestVectorLevel()).decode;
    const auto size = static_cast<std::size_t>(n);
    const auto* from = reinterpret_cast<const Byte*>(text);
    const Byte* const end = from + size;
    if (size > kChunk) output.Expect(ExpectedOutput(text, size));
    while (from < end) {
        const std::size_t chunk = std::min(kChunk, static_cast<std::size_t>(end - from));
        lkchar* const units = output.Room(chunk);
        lkchar* to = units;
        if (!decode(from, from + chunk, end, to)) return false;
        output.Use(static_cast<std::size_t>(to - units));
    }
    return true;
}

template <typename Output>
void EncodeText(const lkchar* text, int n, Output& output) {
    if (text == nullptr || n < 1) return;
    const auto encode = utf8::KernelsFor(BestVectorLevel()).encode;
    const auto size = static_cast<std::size_t>(n);
    if (size > kChunk) output.Expect(ExpectedOutput(text, size));
    for (std::size_t done = 0; done < size;) {
        const std::size_t chunk = std::min(kChunk, size - done);
        auto* const bytes = reinterpret_cast<Byte*>(output.Room(3 * chunk));
        output.Use(static_cast<std::size_t>(encode(text + done, text + done + chunk, bytes) - bytes));
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

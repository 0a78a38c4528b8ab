#include "qbsvrl6/data/row_splitter.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace qbsvrl6 {

namespace {

constexpr int kLastBit = 63;
constexpr char kOtherBracket = 0x20;  // the bit in which "[" differs from "{", and "]" from "}"

// Bit n is set if an odd number of bits up to n is: between an opening quote and the closing one.
std::uint64_t parity(std::uint64_t bits) {
    for (int shift = 1; shift <= 32; shift *= 2) bits ^= bits << shift;
    return bits;
}

}  // namespace

#ifdef __SSE2__
RowSplitter::Block RowSplitter::Block::of(const char* text) {
    constexpr int kBytes = 16;
    Block block;
    for (int shift = 0; shift < static_cast<int>(kBlock); shift += kBytes) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + shift));
        const __m128i folded = _mm_or_si128(bytes, _mm_set1_epi8(kOtherBracket));
        const auto equal = [&](const __m128i& among, char byte) {
            const int mask = _mm_movemask_epi8(_mm_cmpeq_epi8(among, _mm_set1_epi8(byte)));
            return static_cast<std::uint64_t>(static_cast<unsigned>(mask)) << shift;
        };
        block.quotes |= equal(bytes, '"');
        block.backslashes |= equal(bytes, '\\');
        block.opening |= equal(folded, '{');
        block.closing |= equal(folded, '}');
        block.commas |= equal(bytes, ',');
    }
    return block;
}
#else
RowSplitter::Block RowSplitter::Block::of(const char* text) {
    Block block;
    for (std::size_t i = 0; i < kBlock; ++i) {
        const std::uint64_t bit = std::uint64_t{1} << i;
        const char folded = static_cast<char>(text[i] | kOtherBracket);
        if (text[i] == '"') block.quotes |= bit;
        if (text[i] == '\\') block.backslashes |= bit;
        if (folded == '{') block.opening |= bit;
        if (folded == '}') block.closing |= bit;
        if (text[i] == ',') block.commas |= bit;
    }
    return block;
}
#endif

std::uint64_t RowSplitter::escapedIn(std::uint64_t backslashes) {
    std::uint64_t escaped = startsEscaped_;
    startsEscaped_ = 0;
    backslashes &= ~escaped;
    while (backslashes != 0) {
        const int at = std::countr_zero(backslashes);
        if (at == kLastBit) {
            startsEscaped_ = 1;
            break;
        }
        escaped |= std::uint64_t{2} << at;
        backslashes &= ~(std::uint64_t{3} << at);
    }
    return escaped;
}

void RowSplitter::scanBlock(const char* text, std::size_t offset, Found& found) {
    const Block block = Block::of(text);
    const std::uint64_t inString = parity(block.quotes & ~escapedIn(block.backslashes)) ^ inString_;
    inString_ = std::uint64_t{0} - (inString >> kLastBit);
    const auto noteComma = [&](std::uint64_t among) {
        const std::uint64_t commas = block.commas & among;
        if (depth_ == 1 && commas != 0) {
            found.comma = offset + static_cast<std::size_t>(kLastBit - std::countl_zero(commas));
        }
    };
    std::uint64_t left = ~inString;  // bytes outside of strings that are not looked at yet
    for (std::uint64_t brackets = (block.opening | block.closing) & left; brackets != 0;
         brackets &= brackets - 1) {
        const int at = std::countr_zero(brackets);
        const std::uint64_t bit = std::uint64_t{1} << at;
        noteComma(left & (bit - 1));
        left &= ~(bit | (bit - 1));
        if ((block.opening & bit) != 0) {
            ++depth_;
        } else if (--depth_ == 0) {
            found.close = offset + static_cast<std::size_t>(at);
            return;
        }
    }
    noteComma(left);
}

RowSplitter::Found RowSplitter::scan(const char* text, std::size_t size, bool isLast, std::size_t& scanned) {
    Found found;
    for (scanned = 0; scanned + kBlock <= size && found.close == npos; scanned += kBlock) {
        scanBlock(text + scanned, scanned, found);
    }
    if (isLast && scanned < size && found.close == npos) {
        std::array<char, kBlock> rest;
        rest.fill(' ');
        std::memcpy(rest.data(), text + scanned, size - scanned);
        scanBlock(rest.data(), scanned, found);
        scanned = size;
    }
    return found;
}

}  // namespace qbsvrl6

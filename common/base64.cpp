#include "common/base64.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "common/errors.h"
#include "common/internal/base64_kernels.h"
#include "common/string_ops.h"

namespace larkspur {

namespace {

using base64::Byte;
using base64::kAlphabet;

// Two characters for each value of twelve bits: a group of three bytes takes two steps.
using CharPair = std::array<char, 2>;
constexpr auto kEncodePairs = [] {
    std::array<CharPair, 4096> table{};
    for (std::size_t i = 0; i < table.size(); ++i) {
        table[i] = {kAlphabet[i / 64], kAlphabet[i % 64]};
    }
    return table;
}();

constexpr Byte kSkipped = 0xFF;
constexpr auto kDecodeTable = [] {
    std::array<Byte, 256> table{};
    table.fill(kSkipped);
    for (Byte i = 0; i < 64; ++i) table[static_cast<Byte>(kAlphabet[i])] = i;
    return table;
}();

// The bits of a character at each of the four places of a group. Characters that are skipped set a bit above
// the 24 of a group.
constexpr std::uint32_t kNoGroup = 1u << 24;
constexpr auto kDecodePlaces = [] {
    std::array<std::array<std::uint32_t, 256>, 4> tables{};
    for (unsigned place = 0; place < 4; ++place) {
        for (std::size_t c = 0; c < 256; ++c) {
            tables[place][c] =
                kDecodeTable[c] == kSkipped ? kNoGroup : std::uint32_t{kDecodeTable[c]} << (18 - 6 * place);
        }
    }
    return tables;
}();

// Writes the four characters of three bytes.
void EncodeGroup(const Byte* data, char* out) {
    const unsigned bits = static_cast<unsigned>(data[0] << 16 | data[1] << 8 | data[2]);
    std::memcpy(out, &kEncodePairs[bits >> 12], 2);
    std::memcpy(out + 2, &kEncodePairs[bits & 0xFFF], 2);
}

// Writes the eight characters of six bytes. Reads eight bytes, so that the compiler can use a single load.
void EncodeTwoGroups(const Byte* data, char* out) {
    std::uint64_t bits = 0;
    for (int i = 0; i < 8; ++i) bits |= std::uint64_t{data[i]} << (56 - 8 * i);
    std::memcpy(out, &kEncodePairs[bits >> 52], 2);
    std::memcpy(out + 2, &kEncodePairs[bits >> 40 & 0xFFF], 2);
    std::memcpy(out + 4, &kEncodePairs[bits >> 28 & 0xFFF], 2);
    std::memcpy(out + 6, &kEncodePairs[bits >> 16 & 0xFFF], 2);
}

void EncodeGroups(const Byte* data, std::size_t groups, char* out) {
    const std::size_t done = base64::KernelsFor(BestVectorLevel()).encode(data, groups, out);
    data += 3 * done;
    out += 4 * done;
    groups -= done;
    for (; groups >= 3; groups -= 2, data += 6, out += 8) EncodeTwoGroups(data, out);
    for (; groups > 0; --groups, data += 3, out += 4) EncodeGroup(data, out);
}

// Decodes whole groups with nothing between them, and stops before the first other one.
void DecodeCleanGroups(const Byte*& p, const Byte* end, Byte*& out) {
    while (end - p >= 4) {
        const std::uint32_t bits =
            kDecodePlaces[0][p[0]] | kDecodePlaces[1][p[1]] | kDecodePlaces[2][p[2]] | kDecodePlaces[3][p[3]];
        if (bits >= kNoGroup) return;
        out[0] = static_cast<Byte>(bits >> 16);
        out[1] = static_cast<Byte>(bits >> 8);
        out[2] = static_cast<Byte>(bits);
        p += 4;
        out += 3;
    }
}

// Decodes one group, skipping other characters. Returns false if the text ends within it.
bool DecodeGroup(const Byte*& p, const Byte* end, Byte*& out) {
    unsigned bits = 0;
    int count = 0;
    for (; p < end && count < 4; ++p) {
        const Byte value = kDecodeTable[*p];
        if (value == kSkipped) continue;
        bits |= static_cast<unsigned>(value) << (18 - 6 * count);
        ++count;
    }
    for (int i = 0; i < count * 6 / 8; ++i) *out++ = static_cast<Byte>(bits >> (16 - 8 * i));
    return count == 4;
}

constexpr bool IsBase64Char(Byte c) { return kDecodeTable[c] != kSkipped; }

template <class Char>
bool IsBase64Text(const Char* text, int size) {
    if (text == nullptr || size < 2) return false;
    const auto inAlphabet = [](Char c) { return IsBase64Char(static_cast<Byte>(c)); };
    const auto mayEnd = [inAlphabet](Char c) { return inAlphabet(c) || static_cast<Byte>(c) == '='; };
    return std::all_of(text, text + std::min(size - 1, 64), inAlphabet) && mayEnd(text[size - 1]) &&
           mayEnd(text[size - 2]);
}

}  // namespace

int Base64_EncodeLength(int n) {
    const long long bytes = std::max(n, 0);
    const long long chars = bytes * 4 / 3 + bytes % 3;
    const long long fill = (4 - chars % 4) % 4;
    return static_cast<int>(std::min<long long>(chars + (chars / 76 + 1) * 2 + fill, INT_MAX));
}

int Base64_DecodeLength(int n) { return static_cast<int>((std::max(n, 0) + 3LL) / 4 * 3); }

str Base64_Encode(const void* data, int size) {
    constexpr std::size_t kBlockGroups = 1024;
    str text;
    if (size < 1) return text;
    if (data == nullptr) throw ClkException(LKExceptionFunction, "Base64Encode");
    const auto* p = static_cast<const Byte*>(data);
    std::size_t groups = static_cast<std::size_t>(size) / 3;
    const int tail = size % 3;
    text.reserve((groups + 1) * 4);

    // In blocks, since a string can't grow without being filled first.
    char block[kBlockGroups * 4];
    while (groups > 0) {
        const std::size_t count = std::min(groups, kBlockGroups);
        EncodeGroups(p, count, block);
        text.append(block, count * 4);
        p += count * 3;
        groups -= count;
    }
    if (tail != 0) {
        const Byte last[3] = {p[0], tail == 2 ? p[1] : Byte{0}, 0};
        EncodeGroup(last, block);
        text.append(block, static_cast<std::size_t>(tail) + 1)
            .append(static_cast<std::size_t>(3 - tail), '=');
    }
    return text;
}

bool Base64_Decode(const char* text, int size, ClkMemory& out) {
    if (text == nullptr) return false;
    ClkMemory old;  // where the text may be
    old.Swap(out);
    if (size < 1) return true;
    const auto* p = reinterpret_cast<const Byte*>(text);
    const Byte* end = p + size;
    out.SetSize(Base64_DecodeLength(size));
    auto* const begin = static_cast<Byte*>(out.Data());
    Byte* to = begin;
    const auto decodeMany = base64::KernelsFor(BestVectorLevel()).decode;
    do {
        decodeMany(p, end, to);
        DecodeCleanGroups(p, end, to);
    } while (p < end && *p != 0 && DecodeGroup(p, end, to));
    out.SetSize(static_cast<int>(to - begin));
    return true;
}

bool Base64_DecodeFromWideText(const lkchar* text, int size, ClkMemory& out) {
    const str narrow = LKStr2AsciiStr(text, size);
    return Base64_Decode(narrow.data(), static_cast<int>(narrow.size()), out);
}

bool IsBase64TextCode(const char* text, int size) { return IsBase64Text(text, size); }
bool IsBase64TextCode(const lkchar* text, int size) { return IsBase64Text(text, size); }

const lkchar* ConfirmImageBase64(const lkchar* text, int& size) {
    constexpr char kScheme[] = "data:image";
    constexpr int kSchemeLength = sizeof kScheme - 1;
    constexpr int kLastComma = 29;
    if (IsBase64TextCode(text, size)) return text;
    if (text != nullptr && size >= kSchemeLength && lkstr_nicmp(text, kScheme, kSchemeLength) == 0) {
        for (int i = kSchemeLength; i < size && i <= kLastComma; ++i) {
            if (text[i] != u',') continue;
            size -= i + 1;
            return text + i + 1;
        }
    }
    size = 0;
    return nullptr;
}

str MyHexEncode(const char* text, int size) {
    str hex;
    if (text == nullptr || size < 1) return hex;
    hex.reserve(static_cast<std::size_t>(size) * 2);
    for (const char* p = text; p != text + size; ++p) {
        const auto byte = static_cast<Byte>(*p);
        hex.push_back(static_cast<char>('C' + (byte >> 4)));
        hex.push_back(static_cast<char>('C' + (byte & 15)));
    }
    return hex;
}

str MyHexDecode(const char* text, int size) {
    str bytes;
    if (text == nullptr || size < 1 || size % 2 != 0) return bytes;
    bytes.reserve(static_cast<std::size_t>(size) / 2);
    for (const char* p = text; p != text + size; p += 2) {
        bytes.push_back(static_cast<char>((p[0] - 'C') * 16 + (p[1] - 'C')));
    }
    return bytes;
}

str Base64MyHexEncode(const void* data, int size) {
    const str text = Base64_Encode(data, size);
    return MyHexEncode(text.data(), static_cast<int>(text.size()));
}

bool Base64MyHexDecode(const char* text, int size, ClkMemory& out) {
    const str base64 = MyHexDecode(text, size);
    return Base64_Decode(base64.data(), static_cast<int>(base64.size()), out);
}

str Base64MyHexDecode(const char* text, int size) {
    ClkMemory bytes;
    Base64MyHexDecode(text, size, bytes);
    return bytes.Size() == 0
               ? str()
               : str(static_cast<const char*>(bytes.Data()), static_cast<std::size_t>(bytes.Size()));
}

}  // namespace larkspur

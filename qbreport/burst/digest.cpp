#include "qbreport/burst/digest.h"

#include <array>
#include <cstdint>

#include "qbreport/burst/descriptor.h"

namespace qbreport {

namespace {

constexpr char kDigits[] = "0123456789abcdef";

const std::uint8_t* asBytes(std::string_view text) {
    return reinterpret_cast<const std::uint8_t*>(text.data());
}

}  // namespace

Digest::Digest() : state_{} { sha256_init(&state_); }

void Digest::add(std::string_view bytes) { sha256_update(&state_, bytes.size(), asBytes(bytes)); }

std::string Digest::hex() {
    std::array<std::uint8_t, SHA256_DIGEST_SIZE> value{};
    sha256_digest(&state_, value.size(), value.data());
    std::string text;
    text.reserve(2 * value.size());
    for (const std::uint8_t byte : value) ((text += kDigits[byte >> 4]) += kDigits[byte & 15]);
    return text;
}

std::string digestOf(std::string_view bytes) {
    Digest digest;
    digest.add(bytes);
    return digest.hex();
}

std::string digestOfFile(const std::string& path) {
    const Descriptor file = openToRead(path);
    Digest digest;
    std::string bytes(1 << 18, '\0');
    for (std::uint64_t at = 0;;) {
        const std::size_t size = readAt(file, at, bytes.data(), bytes.size(), path);
        if (size == 0) return digest.hex();
        digest.add({bytes.data(), size});
        at += size;
    }
}

}  // namespace qbreport

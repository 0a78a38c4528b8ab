#include "qbsvrl6/support/keyed_hash.h"

#include <sys/random.h>

#include <array>
#include <chrono>
#include <cstring>

namespace qbsvrl6 {

namespace {

__extension__ using Wide = unsigned __int128;

using Key = std::array<std::uint64_t, 2>;

const Key& processKey() {
    static const Key key = [] {
        Key random{};
        if (::getrandom(random.data(), sizeof random, GRND_NONBLOCK) != sizeof random) {
            const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
            random = {static_cast<std::uint64_t>(now), reinterpret_cast<std::uintptr_t>(&random)};
        }
        random[1] |= 1;
        return random;
    }();
    return key;
}

std::size_t hashOf(const void* bytes, std::size_t count) {
    const auto* at = static_cast<const unsigned char*>(bytes);
    std::uint64_t hash = nextKeyedHash(firstKeyedHash(), count);
    std::uint64_t block = 0;
    for (; count >= sizeof block; count -= sizeof block, at += sizeof block) {
        std::memcpy(&block, at, sizeof block);
        hash = nextKeyedHash(hash, block);
    }
    block = 0;
    if (count > 0) std::memcpy(&block, at, count);
    return nextKeyedHash(hash, block);
}

}  // namespace

std::uint64_t firstKeyedHash() { return processKey()[0]; }

// Both halves of the product depend on the whole key, so that no difference of two values has a known effect.
std::uint64_t nextKeyedHash(std::uint64_t hash, std::uint64_t value) {
    const Wide product = Wide{hash ^ value} * processKey()[1];
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

std::size_t KeyedHash::operator()(std::string_view text) const { return hashOf(text.data(), text.size()); }

std::size_t KeyedHash::operator()(std::u16string_view text) const {
    return hashOf(text.data(), text.size() * sizeof(char16_t));
}

}  // namespace qbsvrl6

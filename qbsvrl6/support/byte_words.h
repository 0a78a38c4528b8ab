// Bytes as words, for hashes.
#ifndef QBSVR_QBSVRL6_SUPPORT_BYTE_WORDS_H
#define QBSVR_QBSVRL6_SUPPORT_BYTE_WORDS_H

#include <cstdint>
#include <cstring>
#include <string_view>

namespace qbsvrl6 {

// Calls visit(word) for each eight bytes, in the byte order of the machine, then for each remaining byte.
template <class Visit>
void forEachWord(std::string_view bytes, Visit&& visit) {
    for (; bytes.size() >= sizeof(std::uint64_t); bytes.remove_prefix(sizeof(std::uint64_t))) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes.data(), sizeof word);
        visit(word);
    }
    for (const char byte : bytes) visit(std::uint64_t{static_cast<unsigned char>(byte)});
}

}  // namespace qbsvrl6

#endif

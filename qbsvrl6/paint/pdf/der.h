// Values in the distinguished encoding rules of ASN.1 (X.690), as signatures need them.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_DER_H
#define QBSVR_QBSVRL6_PAINT_PDF_DER_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qbsvrl6::der {

enum Tag : unsigned char {
    kBoolean = 0x01,
    kInteger = 0x02,
    kOctets = 0x04,
    kNull = 0x05,
    kObject = 0x06,
    kSequence = 0x30,
    kSet = 0x31,
    kContext = 0xA0,  // + number
};

inline std::string value(int tag, std::string_view content) {
    std::string out(1, static_cast<char>(tag));
    if (content.size() < 0x80) {
        out += static_cast<char>(content.size());
    } else {
        int bytes = 1;
        while (content.size() >> (8 * bytes) != 0) ++bytes;
        out += static_cast<char>(0x80 + bytes);
        while (bytes-- > 0) out += static_cast<char>(content.size() >> (8 * bytes) & 0xFF);
    }
    return out.append(content);
}

template <class... Parts>
std::string sequence(const Parts&... parts) {
    return value(kSequence, (std::string() + ... + parts));
}

inline std::string integer(char small) { return value(kInteger, {&small, 1}); }

// In the order of their bytes, as the rules ask.
inline std::string set(std::vector<std::string> members) {
    std::sort(members.begin(), members.end());
    std::string content;
    for (const std::string& member : members) content += member;
    return value(kSet, content);
}

// Reads one value at the start of `bytes` and removes it from them. False if it is not whole.
inline bool take(std::string_view& bytes, int& tag, std::string_view& content, std::string_view& whole) {
    if (bytes.size() < 2) return false;
    const auto at = [&](std::size_t i) {
        return static_cast<std::size_t>(static_cast<unsigned char>(bytes[i]));
    };
    tag = static_cast<int>(at(0));
    std::size_t head = 2;
    std::size_t size = at(1);
    if (size >= 0x80) {
        const std::size_t count = size - 0x80;
        constexpr std::size_t kMostCount = 4;
        if (count == 0 || count > kMostCount || bytes.size() < head + count) return false;
        size = 0;
        for (std::size_t i = 0; i < count; ++i) size = size << 8 | at(head + i);
        head += count;
    }
    if (size > bytes.size() - head) return false;
    content = bytes.substr(head, size);
    whole = bytes.substr(0, head + size);
    bytes.remove_prefix(head + size);
    return true;
}

}  // namespace qbsvrl6::der

#endif

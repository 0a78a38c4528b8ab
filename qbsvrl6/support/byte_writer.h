// Writes records of binary formats.
#ifndef QBSVR_QBSVRL6_SUPPORT_BYTE_WRITER_H
#define QBSVR_QBSVRL6_SUPPORT_BYTE_WRITER_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace qbsvrl6 {

// Appends little-endian values to a string.
class ByteWriter {
public:
    explicit ByteWriter(std::string& out) : out_(out) {}

    // Each value has the size of its type: std::uint16_t{7}.
    template <typename... Values>
    ByteWriter& put(Values... values) {
        (putOne(values), ...);
        return *this;
    }
    ByteWriter& zeros(std::size_t count) {
        out_.append(count, '\0');
        return *this;
    }
    ByteWriter& bytes(std::string_view bytes) {
        out_ += bytes;
        return *this;
    }
    ByteWriter& utf16(std::u16string_view text) {
        for (const char16_t unit : text) putOne(static_cast<std::uint16_t>(unit));
        return *this;
    }

private:
    template <typename Value>
    void putOne(Value value) {
        static_assert(std::endian::native == std::endian::little);
        char raw[sizeof value];
        std::memcpy(&raw[0], &value, sizeof value);
        out_.append(&raw[0], sizeof value);
    }

    std::string& out_;
};

}  // namespace qbsvrl6

#endif

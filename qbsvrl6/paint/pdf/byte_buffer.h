// A growing block of bytes: appending costs a comparison and a copy.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_BYTE_BUFFER_H
#define QBSVR_QBSVRL6_PAINT_PDF_BYTE_BUFFER_H

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

namespace qbsvrl6 {

class ByteBuffer {
public:
    // Space for at least `count` more bytes, which become part of the buffer with commit().
    char* room(std::size_t count) {
        if (capacity_ - size_ < count) grow(count);
        return bytes_.get() + size_;
    }
    void commit(const char* end) { size_ = static_cast<std::size_t>(end - bytes_.get()); }

    void append(char c) {
        *room(1) = c;
        ++size_;
    }
    void append(std::string_view text) {
        std::memcpy(room(text.size() + 1), text.data(), text.size());
        size_ += text.size();
    }
    void append(std::int64_t number) {
        char* to = room(20);
        commit(std::to_chars(to, to + 20, number).ptr);
    }
    template <class... Parts>
    void add(const Parts&... parts) {
        (append(parts), ...);
    }
    void insert(std::size_t at, char c) {
        append('\0');
        std::memmove(bytes_.get() + at + 1, bytes_.get() + at, size_ - 1 - at);
        bytes_[at] = c;
    }

    std::size_t size() const { return size_; }
    std::string_view view() const { return {bytes_.get(), size_}; }
    void clear() { size_ = 0; }

private:
    void grow(std::size_t count) {
        const std::size_t capacity = std::max({size_ + count, 2 * capacity_, std::size_t{1024}});
        std::unique_ptr<char[]> bytes(new char[capacity]);
        if (size_ > 0) std::memcpy(bytes.get(), bytes_.get(), size_);
        bytes_ = std::move(bytes);
        capacity_ = capacity;
    }

    std::unique_ptr<char[]> bytes_;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

}  // namespace qbsvrl6

#endif

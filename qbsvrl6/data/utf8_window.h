// A window over UTF-8 text that is read once, from front to end.
#ifndef QBSVR_QBSVRL6_DATA_UTF8_WINDOW_H
#define QBSVR_QBSVRL6_DATA_UTF8_WINDOW_H

#include <cstddef>
#include <memory>
#include <string>

#include "qbsvrl6/data/byte_source.h"
#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

// Holds the text that has been read and not yet dropped. Offsets count the bytes of the whole text.
class Utf8Window {
public:
    // A byte order mark of UTF-8 is left out. The source outlives the window.
    explicit Utf8Window(ByteSource& source);

    std::size_t begin() const { return dropped_; }
    std::size_t end() const { return dropped_ + valid_ - start_; }
    // The text at an offset of the window, valid until more is read. One byte before the start and kReadAhead
    // bytes after the end can be used as well.
    char* at(std::size_t offset) { return buffer_.get() + start_ + (offset - dropped_); }
    std::size_t offsetOf(const char* at) const {
        return dropped_ + static_cast<std::size_t>(at - buffer_.get()) - start_;
    }

    // Reads more text. Returns false at the end. Raises EngineError for text that is not UTF-8, and if the
    // window would hold more than limits::kDataRowBytes.
    bool read();
    // Drops the text before the offset.
    void dropBefore(std::size_t offset);

    // Line and column of an offset of the window.
    SourcePlace place(std::size_t offset) const;
    [[noreturn]] void fail(ErrorCode code, const std::string& message, std::size_t offset) const;

    // How far parsers that read in blocks read beyond the end.
    static constexpr std::size_t kReadAhead = 64;

private:
    static constexpr std::size_t kBefore = 1;

    void makeRoom();

    ByteSource& source_;
    std::unique_ptr<char[]> buffer_;
    std::size_t capacity_ = 0;
    std::size_t readBytes_ = 4 * 1024;  // at once; more while the source has as many
    // In the buffer: the text, and after it the bytes of a character that is not complete yet.
    std::size_t start_ = kBefore;
    std::size_t valid_ = kBefore;
    std::size_t filled_ = kBefore;
    std::size_t dropped_ = 0;
    TextPosition position_{1, 1};  // of the start
};

}  // namespace qbsvrl6

#endif

// Bytes that are written from front to end and read later: in memory up to a limit, beyond it in a temporary
// file. Documents and downloads are such bytes.
#ifndef QBSVR_QBSVRL6_SUPPORT_SPOOL_H
#define QBSVR_QBSVRL6_SUPPORT_SPOOL_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "qbsvrl6/support/temporary_file.h"

namespace qbsvrl6 {

// An object belongs to one thread at a time. Functions that write or read raise MachineError if the file
// can't be written or read.
class Spool {
public:
    static constexpr std::size_t kBytesInMemory = 4u << 20;

    // `content` names what it holds, for messages: "the document".
    explicit Spool(std::string content = "the document") : content_(std::move(content)) {}

    void append(std::string_view bytes) {
        end_ += bytes;
        writeIfLarge();
    }
    // Appends the other's bytes: all of them, and the other is empty then; or those from `first` to before
    // `end`.
    void append(Spool&& other);
    void append(const Spool& other, std::uint64_t first, std::uint64_t end);

    // The bytes at the end, to append to. The reference stays valid, its bytes only until the next call of
    // another function.
    std::string& end() { return end_; }
    // Call it after appending to end().
    void writeIfLarge() {
        if (end_.size() >= (file_ ? kBytesAtOnce : kBytesInMemory)) writeEnd();
    }

    std::uint64_t size() const { return (file_ ? file_->size() : 0) + end_.size(); }
    bool isEmpty() const { return size() == 0; }
    // Fewer bytes than `size` only at the end.
    std::size_t read(std::uint64_t offset, char* to, std::size_t size) const;

    // The bytes in one string. The spool is then empty.
    std::string take();
    // Null if all bytes are in memory; otherwise the file that has all of them.
    const TemporaryFile* file();

private:
    static constexpr std::size_t kBytesAtOnce = 256u << 10;

    void writeEnd();

    std::string content_;
    std::optional<TemporaryFile> file_;
    std::string end_;  // after the file's bytes
};

}  // namespace qbsvrl6

#endif

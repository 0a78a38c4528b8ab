// Bytes of data on their way to a reader.
#ifndef QBSVR_QBSVRL6_DATA_BYTE_SOURCE_H
#define QBSVR_QBSVRL6_DATA_BYTE_SOURCE_H

#include <cstddef>
#include <memory>
#include <string>
#include <utility>

#include "qbsvrl6/support/address.h"

namespace qbsvrl6 {

// Read once, from front to end.
class ByteSource {
public:
    // `origin` is the source's name in messages.
    explicit ByteSource(std::string origin) : origin_(std::move(origin)) {}
    virtual ~ByteSource() = default;
    ByteSource(const ByteSource&) = delete;
    ByteSource& operator=(const ByteSource&) = delete;

    // Reads at most `size` bytes; 0 only at the end. Raises EngineError that names the origin, and for what
    // ends the whole export (budget.h).
    virtual std::size_t read(char* to, std::size_t size) = 0;

    const std::string& origin() const { return origin_; }

private:
    std::string origin_;
};

// Reads a source in blocks that grow, so that a small source takes little time.
class ByteBlocks {
public:
    static constexpr std::size_t kMost = 256 * 1024;

    explicit ByteBlocks(ByteSource& source) : source_(source) {}
    // Appends the next block. Returns false at the end.
    bool append(std::string& bytes);

private:
    ByteSource& source_;
    std::size_t size_ = 1024;
};

// The bytes at an address, with the errors of `fetch` (load.h) but without a limit of their number. Those of
// a local file are read, and count in the budget of the export, window by window. Those of a web address are
// downloaded first: into memory, or into a temporary file if they are many.
std::unique_ptr<ByteSource> openBytes(const Address& address);

// What other programs write to this one, as they write it.
std::unique_ptr<ByteSource> standardInput();

// Bytes in memory.
std::unique_ptr<ByteSource> bytesOf(std::string bytes, std::string origin);

}  // namespace qbsvrl6

#endif

// The file that a burst reads, and the part of it that is in memory.
#ifndef QBSVR_QBREPORT_BURST_SOURCE_H
#define QBSVR_QBREPORT_BURST_SOURCE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "qbreport/burst/descriptor.h"
#include "qbreport/burst/digest.h"

namespace qbreport {

// Documents are named and checked before the first one is made, so the source is read twice: standard input
// and other pipes are copied to a temporary file.
class Source {
public:
    // "-": standard input. Raises Failure.
    explicit Source(const std::string& path);
    // A temporary file with rows of the program itself. `beforeLine`: between the name and the number of a
    // line, in messages.
    Source(Descriptor file, std::string name, std::string beforeLine = ":");

    const std::string& name() const { return name_; }
    const std::string& beforeLine() const { return beforeLine_; }
    std::uint64_t size() const { return size_; }
    const Descriptor& file() const { return file_; }
    // Not for pipes.
    bool hasRanges() const { return isRegular_; }

private:
    std::string name_;
    std::string beforeLine_ = ":";
    Descriptor file_;
    std::uint64_t size_ = 0;
    bool isRegular_ = true;
};

// Reads the source in order.
class Window {
public:
    // `digest`: gets every byte that is read; may be null.
    Window(const Source& source, Digest* digest) : source_(source), digest_(digest) {}

    // What is in memory: the bytes from offset() on. They are followed by kPadding bytes that may be read.
    std::string_view text() const { return {bytes_.data() + begin_, end_ - begin_}; }
    std::uint64_t offset() const { return offset_; }
    void drop(std::size_t size);
    // Adds bytes at the end of the text, which moves. Returns false at the end of the source.
    bool readMore();
    // Continues at another place.
    void seek(std::uint64_t offset);

    static constexpr std::size_t kPadding = 64;

private:
    const Source& source_;
    Digest* digest_;
    std::string bytes_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    std::uint64_t offset_ = 0;
};

}  // namespace qbreport

#endif

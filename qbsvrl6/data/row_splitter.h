// Finds where the text of a JSON array can be divided between its elements.
#ifndef QBSVR_QBSVRL6_DATA_ROW_SPLITTER_H
#define QBSVR_QBSVRL6_DATA_ROW_SPLITTER_H

#include <cstddef>
#include <cstdint>

namespace qbsvrl6 {

// Only strings, brackets and commas count: the text between two commas of the array may be anything else. A
// bracket closes any other.
class RowSplitter {
public:
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    struct Found {
        std::size_t comma = npos;  // the last one between elements
        std::size_t close = npos;  // the bracket that closes the array; nothing after it counts
    };

    // Scans a part of the text, which begins after the opening bracket, up to kBlock bytes before its end
    // unless it is the last part. `scanned` becomes the number of bytes after which the next part begins.
    Found scan(const char* text, std::size_t size, bool isLast, std::size_t& scanned);

    static constexpr std::size_t kBlock = 64;

private:
    // One bit per byte of a block.
    struct Block {
        std::uint64_t quotes = 0, backslashes = 0, opening = 0, closing = 0, commas = 0;
        static Block of(const char* text);
    };

    std::uint64_t escapedIn(std::uint64_t backslashes);
    void scanBlock(const char* text, std::size_t offset, Found& found);

    std::size_t depth_ = 1;
    std::uint64_t inString_ = 0;       // all bits, if the next block begins in a string
    std::uint64_t startsEscaped_ = 0;  // 1, if its first byte is escaped
};

}  // namespace qbsvrl6

#endif

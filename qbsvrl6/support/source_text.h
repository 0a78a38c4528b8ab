// Text of templates and data as UTF-8, with positions for messages.
#ifndef QBSVR_QBSVRL6_SUPPORT_SOURCE_TEXT_H
#define QBSVR_QBSVRL6_SUPPORT_SOURCE_TEXT_H

#include <string>
#include <string_view>

#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

// Bytes of a template or data file, turned into valid UTF-8 without a mark.
class SourceText {
public:
    // UTF-8 and UTF-16 by their marks, else what an XML declaration names, else UTF-8. Raises EngineError
    // (BadEncoding) with the place of the first bad sequence, and NotSupported for an unknown encoding.
    SourceText(std::string bytes, std::string origin);

    // With kReadAhead bytes of capacity after its end.
    const std::string& text() const { return text_; }
    const std::string& origin() const { return origin_; }

    // Line and column (in characters) of a byte of the text.
    SourcePlace place(std::size_t offset) const;
    [[noreturn]] void fail(ErrorCode code, const std::string& message, std::size_t offset) const;

    // Parsers that read by blocks read so far after the end.
    static constexpr std::size_t kReadAhead = 64;

private:
    void checkUtf8() const;
    void readUtf16(std::string_view bytes, bool bigEndian);
    void readDeclared();
    void convert(std::string_view bytes, const char* encoding);

    std::string origin_;
    std::string text_;
};

// Positions of bytes in ascending order: all of them take one pass over the text.
class PlaceCursor {
public:
    explicit PlaceCursor(const SourceText& source) : source_(source) {}

    SourcePlace place(std::size_t offset);

private:
    const SourceText& source_;
    std::size_t at_ = 0;
    int line_ = 1;
    int column_ = 1;
};

}  // namespace qbsvrl6

#endif

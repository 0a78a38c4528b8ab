// Text of templates and data as UTF-8, with positions for messages.
#ifndef QBSVR_QBSVRL6_SUPPORT_SOURCE_TEXT_H
#define QBSVR_QBSVRL6_SUPPORT_SOURCE_TEXT_H

#include <string>
#include <string_view>

#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

// The text of a template or data file, converted to valid UTF-8 without a byte order mark.
class SourceText {
public:
    // The encoding is UTF-8 or UTF-16 according to the byte order mark, or else the one that the XML
    // declaration names, or else UTF-8. Raises EngineError: BadEncoding with the position of the first
    // invalid sequence, NotSupported for an unknown encoding.
    SourceText(std::string bytes, std::string origin);

    // Has kReadAhead bytes of capacity after its end.
    const std::string& text() const { return text_; }
    const std::string& origin() const { return origin_; }

    // Line and column (in characters) of a byte of the text.
    SourcePlace place(std::size_t offset) const;
    [[noreturn]] void fail(ErrorCode code, const std::string& message, std::size_t offset) const;

    // How far parsers that read in blocks read beyond the end.
    static constexpr std::size_t kReadAhead = 64;

private:
    void checkUtf8() const;
    void readUtf16(std::string_view bytes, bool bigEndian);
    void readDeclared();
    void convert(std::string_view bytes, const char* encoding);

    std::string origin_;
    std::string text_;
};

// Finds the positions of bytes in ascending order, in one pass over the text.
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

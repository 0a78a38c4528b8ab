// Text of data that is decoded in windows, so that it never has to be in memory as a whole.
#ifndef QBSVR_QBSVRL6_DATA_TEXT_DECODER_H
#define QBSVR_QBSVRL6_DATA_TEXT_DECODER_H

#include <memory>
#include <string>
#include <string_view>

#include "qbsvrl6/data/byte_source.h"

namespace qbsvrl6 {

class TextDecoder {
public:
    // `encoding` is a name of support/encodings.h; empty: UTF-8. A byte order mark of UTF-8 or UTF-16
    // overrides it. Raises EngineError(NotSupported) for an unknown encoding.
    TextDecoder(ByteSource& bytes, const std::string& encoding);
    ~TextDecoder();

    // Appends the next window, whole characters of valid UTF-8. Returns false, and appends nothing, at the
    // end of the text and at a sequence that is invalid in the encoding.
    bool append(std::string& text);
    // What is wrong with the sequence at which the text ended; empty: nothing, it was the end.
    const std::string& problem() const { return problem_; }

private:
    class Converter;

    bool read();
    void findEncoding(const std::string& named, const std::string& origin);
    bool appendUtf8(std::string& text);
    bool appendConverted(std::string& text);

    ByteBlocks blocks_;
    std::string raw_;  // bytes that are not decoded yet
    bool atEnd_ = false;
    std::unique_ptr<Converter> converter_;  // null: UTF-8
    std::string problem_;
};

}  // namespace qbsvrl6

#endif

// Text in other encodings than UTF-8.
#ifndef QBSVR_QBSVRL6_SUPPORT_TEXT_ENCODER_H
#define QBSVR_QBSVRL6_SUPPORT_TEXT_ENCODER_H

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace qbsvrl6 {

// Converts valid UTF-8, in parts of any size. A character that the encoding does not have becomes a question
// mark; they are counted.
class TextEncoder {
public:
    // Whether the system has the encoding.
    static bool knows(std::string_view encoding);

    // Raises EngineError (BadEncoding) for an encoding that it does not have.
    explicit TextEncoder(const std::string& encoding);
    ~TextEncoder();
    TextEncoder(const TextEncoder&) = delete;
    TextEncoder& operator=(const TextEncoder&) = delete;

    void append(std::string& out, std::string_view utf8);

    std::size_t lostCount() const { return lost_; }
    // The first characters that were lost, each once, in UTF-8.
    const std::string& lostCharacters() const { return lostCharacters_; }

private:
    void convert(std::string& out, std::string_view utf8);
    void replace(std::string& out, std::string_view character);

    struct Handle;
    std::unique_ptr<Handle> handle_;
    std::string rest_;  // the beginning of a character that continues in the next part
    std::size_t lost_ = 0;
    std::string lostCharacters_;
};

}  // namespace qbsvrl6

#endif

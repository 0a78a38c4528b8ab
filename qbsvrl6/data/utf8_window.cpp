#include "qbsvrl6/data/utf8_window.h"

#include <simdjson.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

constexpr std::size_t kMostReadBytes = 256 * 1024;  // they stay in the cache until they are parsed

std::size_t lengthBy(char lead) {
    const auto byte = static_cast<unsigned char>(lead);
    return byte < 0xC0 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

bool continuesCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

// How many bytes at the end begin a character that continues after it.
std::size_t unfinishedBytes(std::string_view text) {
    for (std::size_t count = 1; count <= std::min<std::size_t>(3, text.size()); ++count) {
        const char byte = text[text.size() - count];
        if (!continuesCharacter(byte)) return lengthBy(byte) > count ? count : 0;
    }
    return 0;
}

// The length of the part that is valid, up to the first character that is not.
std::size_t validBytes(std::string_view text) {
    std::size_t at = 0;
    while (at < text.size() && isValidUtf8(text.substr(at, lengthBy(text[at])))) at += lengthBy(text[at]);
    return at;
}

std::size_t countCharacters(std::string_view text) {
    constexpr std::uint64_t kLowBits = 0x0101010101010101u;
    std::size_t continued = 0;
    std::size_t at = 0;
    for (; at + 8 <= text.size(); at += 8) {
        std::uint64_t block = 0;
        std::memcpy(&block, text.data() + at, 8);
        continued += (((block >> 7) & (~block >> 6) & kLowBits) * kLowBits) >> 56;
    }
    for (; at < text.size(); ++at) continued += continuesCharacter(text[at]) ? 1u : 0u;
    return text.size() - continued;
}

TextPosition advanced(TextPosition position, std::string_view over) {
    for (const char* at = over.data(); at != over.data() + over.size();) {
        const auto left = static_cast<std::size_t>(over.data() + over.size() - at);
        const auto* const lineEnd = static_cast<const char*>(std::memchr(at, '\n', left));
        if (lineEnd == nullptr) {
            position.column += static_cast<int>(countCharacters({at, left}));
            break;
        }
        ++position.line;
        position.column = 1;
        at = lineEnd + 1;
    }
    return position;
}

}  // namespace

Utf8Window::Utf8Window(ByteSource& source) : source_(source) {
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    while (end() < kMark.size() && read()) continue;
    if (std::string_view(at(0), end()).starts_with(kMark)) start_ += kMark.size();
}

bool Utf8Window::read() {
    makeRoom();
    const std::size_t known = valid_, size = readBytes_;
    while (valid_ == known) {
        const std::size_t count = source_.read(buffer_.get() + filled_, size);
        if (count == 0 && filled_ == valid_) return false;
        filled_ += count;
        const std::string_view text(buffer_.get() + valid_, filled_ - valid_);
        const std::size_t whole = text.size() - (count == 0 ? 0 : unfinishedBytes(text));
        if (!simdjson::validate_utf8(text.data(), whole)) {
            const std::size_t offset = end() + validBytes(text);
            valid_ = filled_;
            fail(ErrorCode::BadEncoding, "the text is not UTF-8", offset);
        }
        valid_ += whole;
        if (count == size) readBytes_ = std::min(2 * size, kMostReadBytes);
    }
    return true;
}

void Utf8Window::makeRoom() {
    if (filled_ + readBytes_ + kReadAhead <= capacity_) return;
    const std::size_t used = filled_ - start_;
    if (used > limits::kDataRowBytes) {
        fail(ErrorCode::LimitExceeded,
             "a row of more than " + std::to_string(limits::kDataRowBytes >> 20) + " MiB", begin());
    }
    const std::size_t needed = kBefore + used + readBytes_ + kReadAhead;
    if (needed > capacity_) {
        capacity_ = std::max(needed, 2 * capacity_);
        std::unique_ptr<char[]> buffer(new char[capacity_]);
        if (used > 0) std::memcpy(buffer.get() + kBefore, buffer_.get() + start_, used);
        buffer_ = std::move(buffer);
    } else {
        std::memmove(buffer_.get() + kBefore, buffer_.get() + start_, used);
    }
    valid_ -= start_ - kBefore;
    filled_ -= start_ - kBefore;
    start_ = kBefore;
}

void Utf8Window::dropBefore(std::size_t offset) {
    position_ = place(offset).position;
    start_ += offset - dropped_;
    dropped_ = offset;
}

SourcePlace Utf8Window::place(std::size_t offset) const {
    return {source_.origin(), advanced(position_, {buffer_.get() + start_, offset - dropped_})};
}

void Utf8Window::fail(ErrorCode code, const std::string& message, std::size_t offset) const {
    throw EngineError(code, message, place(offset));
}

}  // namespace qbsvrl6

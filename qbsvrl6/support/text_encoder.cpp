#include "qbsvrl6/support/text_encoder.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

namespace {

const iconv_t kNone = reinterpret_cast<iconv_t>(-1);

// By its first byte.
std::size_t sizeOfCharacter(char first) {
    const auto byte = static_cast<unsigned char>(first);
    return byte < 0x80 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

}  // namespace

struct TextEncoder::Handle {
    explicit Handle(const std::string& encoding) : converter(iconv_open(encoding.c_str(), "UTF-8")) {}
    ~Handle() {
        if (converter != kNone) iconv_close(converter);
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    iconv_t converter;
};

// Suffixes such as "//TRANSLIT" would lose characters silently.
bool TextEncoder::knows(std::string_view encoding) {
    constexpr std::size_t kLongest = 40;
    const bool isName = !encoding.empty() && encoding.size() <= kLongest &&
                        std::all_of(encoding.begin(), encoding.end(), [](char c) {
                            return isDigit(c) || isLatinLetter(c) || c == '-' || c == '_' || c == '.';
                        });
    return isName && Handle(std::string(encoding)).converter != kNone;
}

TextEncoder::TextEncoder(const std::string& encoding) : handle_(std::make_unique<Handle>(encoding)) {
    if (handle_->converter == kNone) {
        throw EngineError(ErrorCode::NotSupported, "the system has no encoding \"" + encoding + '"');
    }
}

TextEncoder::~TextEncoder() = default;

void TextEncoder::append(std::string& out, std::string_view utf8) {
    if (!rest_.empty()) {
        const std::size_t missing = sizeOfCharacter(rest_[0]) - rest_.size();
        rest_ += utf8.substr(0, missing);
        utf8.remove_prefix(std::min(missing, utf8.size()));
        if (rest_.size() < sizeOfCharacter(rest_[0])) return;
        convert(out, rest_);
        rest_.clear();
    }
    // A character that does not end in this part begins in its last three bytes.
    for (std::size_t back = 1; back <= std::min<std::size_t>(3, utf8.size()); ++back) {
        const char byte = utf8[utf8.size() - back];
        if ((byte & 0xC0) == 0x80) continue;
        if (sizeOfCharacter(byte) > back) {
            rest_ = utf8.substr(utf8.size() - back);
            utf8.remove_suffix(back);
        }
        break;
    }
    convert(out, utf8);
}

void TextEncoder::convert(std::string& out, std::string_view utf8) {
    std::array<char, 4096> block;
    char* from = const_cast<char*>(utf8.data());  // iconv's signature; it does not write there
    std::size_t left = utf8.size();
    while (left > 0) {
        char* to = block.data();
        std::size_t room = block.size();
        const std::size_t result = iconv(handle_->converter, &from, &left, &to, &room);
        const int error = errno;
        out.append(block.data(), block.size() - room);
        if (result != static_cast<std::size_t>(-1) || error == E2BIG) continue;
        const std::size_t size = std::min(sizeOfCharacter(*from), left);
        replace(out, {from, size});
        from += size;
        left -= size;
    }
}

void TextEncoder::replace(std::string& out, std::string_view character) {
    constexpr std::size_t kShown = 80;  // bytes
    ++lost_;
    if (lostCharacters_.size() < kShown && lostCharacters_.find(character) == std::string::npos) {
        lostCharacters_ += character;
    }
    if (character != "?") convert(out, "?");
}

}  // namespace qbsvrl6

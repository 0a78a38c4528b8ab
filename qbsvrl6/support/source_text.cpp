#include "qbsvrl6/support/source_text.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <utility>

#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/encodings.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

// The encoding that an XML declaration at the start names, in lower case; empty if it names none.
std::string declaredEncoding(std::string_view bytes) {
    if (!bytes.starts_with("<?xml")) return {};
    const std::string_view declaration = bytes.substr(0, bytes.find("?>"));
    const std::size_t key = declaration.find("encoding");
    if (key == std::string_view::npos) return {};
    const std::size_t open = declaration.find_first_of("\"'", key);
    if (open == std::string_view::npos) return {};
    const std::size_t close = declaration.find(declaration[open], open + 1);
    if (close == std::string_view::npos) return {};
    std::string name(declaration.substr(open + 1, close - open - 1));
    std::transform(name.begin(), name.end(), name.begin(), lowered<char>);
    return name;
}

}  // namespace

SourceText::SourceText(std::string bytes, std::string origin)
    : origin_(std::move(origin)), text_(std::move(bytes)) {
    if (text_.starts_with("\xEF\xBB\xBF")) {
        text_.erase(0, 3);
        checkUtf8();
    } else if (text_.starts_with("\xFF\xFE") || text_.starts_with("\xFE\xFF")) {
        const std::string encoded = std::exchange(text_, {});
        readUtf16(std::string_view(encoded).substr(2), encoded.front() == '\xFE');
    } else {
        readDeclared();
    }
    text_.reserve(text_.size() + kReadAhead);
}

SourcePlace SourceText::place(std::size_t offset) const { return PlaceCursor(*this).place(offset); }

void SourceText::fail(ErrorCode code, const std::string& message, std::size_t offset) const {
    throw EngineError(code, message, place(offset));
}

SourcePlace PlaceCursor::place(std::size_t offset) {
    const std::string& text = source_.text();
    for (const std::size_t end = std::min(offset, text.size()); at_ < end; ++at_) {
        if (text[at_] == '\n') {
            ++line_;
            column_ = 1;
        } else if ((static_cast<unsigned char>(text[at_]) & 0xC0) != 0x80) {  // not within a character
            ++column_;
        }
    }
    return {source_.origin(), {line_, column_}};
}

void SourceText::checkUtf8() const {
    if (isValidUtf8(text_)) return;
    fail(ErrorCode::BadEncoding, "the text is not UTF-8", validUtf8Bytes(text_));
}

void SourceText::readUtf16(std::string_view bytes, bool bigEndian) {
    std::u16string units(bytes.size() / 2, u'\0');
    for (std::size_t i = 0; i < units.size(); ++i) {
        const auto first = static_cast<unsigned char>(bytes[2 * i]);
        const auto second = static_cast<unsigned char>(bytes[2 * i + 1]);
        units[i] = static_cast<char16_t>(bigEndian ? first << 8 | second : second << 8 | first);
    }
    text_ = toUtf8(units);
    if (bytes.size() % 2 != 0) {
        fail(ErrorCode::BadEncoding, "the UTF-16 text ends inside a character", text_.size());
    }
}

void SourceText::readDeclared() {
    const std::string name = declaredEncoding(text_);
    if (name.empty()) return checkUtf8();
    const Encoding* const known = findEncoding(name);
    if (known == nullptr) {
        throw EngineError(ErrorCode::NotSupported, "the encoding \"" + name + "\" is not supported",
                          {origin_, {1, 1}});
    }
    if (known->converter == nullptr) return checkUtf8();
    const std::string encoded = std::exchange(text_, {});
    convert(encoded, known->converter);
}

void SourceText::convert(std::string_view bytes, const char* encoding) {
    const std::unique_ptr<void, int (*)(iconv_t)> converter(iconv_open("UTF-8", encoding), iconv_close);
    if (converter.get() == reinterpret_cast<iconv_t>(-1)) {
        throw EngineError(ErrorCode::NotSupported, std::string("no converter for ") + encoding, {origin_});
    }
    char* in = const_cast<char*>(bytes.data());  // iconv's signature; it does not write there
    std::size_t inLeft = bytes.size();
    std::array<char, 64 * 1024> block;
    bool good = true;
    while (good && inLeft > 0) {
        char* out = block.data();
        std::size_t outLeft = block.size();
        good = iconv(converter.get(), &in, &inLeft, &out, &outLeft) != static_cast<std::size_t>(-1) ||
               errno == E2BIG;
        text_.append(block.data(), block.size() - outLeft);
    }
    if (!good) {
        fail(ErrorCode::BadEncoding, std::string("the text is not ") + encoding + ", as it declares",
             text_.size());
    }
}

}  // namespace qbsvrl6

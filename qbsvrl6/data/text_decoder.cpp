#include "qbsvrl6/data/text_decoder.h"

#include <iconv.h>
#include <simdjson.h>

#include <cerrno>
#include <new>
#include <string_view>
#include <utility>

#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/encodings.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

// How many bytes at the end of the text begin a character that continues after it.
std::size_t unfinishedBytes(std::string_view text) {
    for (std::size_t count = 1; count <= 3 && count <= text.size(); ++count) {
        const auto byte = static_cast<unsigned char>(text[text.size() - count]);
        if ((byte & 0xC0) == 0x80) continue;  // within a character
        const std::size_t length = byte < 0xC0 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
        return length > count ? count : 0;
    }
    return 0;
}

// The converter's name for what `encoding` names; null for UTF-8.
const char* converterFor(const std::string& encoding, const std::string& origin) {
    if (encoding.empty()) return nullptr;
    const std::u16string name = toUtf16(encoding);
    if (equalsIgnoringCase(name, u"utf-16") || equalsIgnoringCase(name, u"utf-16le")) return "UTF-16LE";
    if (equalsIgnoringCase(name, u"utf-16be")) return "UTF-16BE";
    const Encoding* const known = findEncoding(encoding);
    if (known != nullptr) return known->converter;
    throw EngineError(ErrorCode::NotSupported, "the encoding \"" + encoding + "\" is not supported",
                      {origin});
}

}  // namespace

class TextDecoder::Converter {
public:
    explicit Converter(const char* encoding) : encoding_(encoding), handle_(iconv_open("UTF-8", encoding)) {
        if (handle_ != reinterpret_cast<iconv_t>(-1)) return;
        if (errno == ENOMEM) throw std::bad_alloc();
        throw EngineError(ErrorCode::NotSupported, std::string("no converter for ") + encoding);
    }
    ~Converter() { iconv_close(handle_); }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    const char* encoding() const { return encoding_; }

    enum class Result { Done, Unfinished, Invalid };

    // Removes from `bytes` what it appends to `text`.
    Result append(std::string& bytes, std::string& text) {
        char* in = bytes.data();
        std::size_t inLeft = bytes.size();
        const std::size_t start = text.size();
        text.resize(start + 4 * inLeft);  // the most that the bytes become
        char* out = text.data() + start;
        std::size_t outLeft = text.size() - start;
        const std::size_t result = iconv(handle_, &in, &inLeft, &out, &outLeft);
        const int error = errno;
        text.resize(text.size() - outLeft);
        bytes.erase(0, bytes.size() - inLeft);
        if (result != static_cast<std::size_t>(-1)) return Result::Done;
        return error == EINVAL ? Result::Unfinished : Result::Invalid;
    }

private:
    const char* encoding_;
    iconv_t handle_;
};

TextDecoder::TextDecoder(ByteSource& bytes, const std::string& encoding) : blocks_(bytes) {
    findEncoding(encoding, bytes.origin());
}

TextDecoder::~TextDecoder() = default;

void TextDecoder::findEncoding(const std::string& named, const std::string& origin) {
    const char* converter = converterFor(named, origin);
    while (raw_.size() < 3 && read()) continue;
    if (raw_.starts_with("\xEF\xBB\xBF")) {
        converter = nullptr;
        raw_.erase(0, 3);
    } else if (raw_.starts_with("\xFF\xFE") || raw_.starts_with("\xFE\xFF")) {
        converter = raw_.front() == '\xFF' ? "UTF-16LE" : "UTF-16BE";
        raw_.erase(0, 2);
    }
    if (converter != nullptr) converter_ = std::make_unique<Converter>(converter);
}

bool TextDecoder::read() {
    atEnd_ = !blocks_.append(raw_);
    return !atEnd_;
}

bool TextDecoder::append(std::string& text) {
    const std::size_t before = text.size();
    while (problem_.empty() && text.size() == before) {
        if (raw_.size() < ByteBlocks::kMost && !atEnd_) read();
        if (raw_.empty()) return false;
        if (converter_ == nullptr ? !appendUtf8(text) : !appendConverted(text)) break;
    }
    return text.size() > before;
}

// Both return false where the text ends at a problem.
bool TextDecoder::appendUtf8(std::string& text) {
    const std::size_t whole = raw_.size() - (atEnd_ ? 0 : unfinishedBytes(raw_));
    const std::string_view bytes = std::string_view(raw_).substr(0, whole);
    if (simdjson::validate_utf8(bytes)) {
        text += bytes;
        raw_.erase(0, whole);
        return true;
    }
    text += bytes.substr(0, validUtf8Bytes(bytes));
    problem_ = "the text is not UTF-8";
    return false;
}

bool TextDecoder::appendConverted(std::string& text) {
    const Converter::Result result = converter_->append(raw_, text);
    if (result == Converter::Result::Done || (result == Converter::Result::Unfinished && !atEnd_))
        return true;
    problem_ = std::string("the text is not ") + converter_->encoding();
    return false;
}

}  // namespace qbsvrl6

// The scalars of JSON, by the grammar of RFC 8259.
#ifndef QBSVR_QBSVRL6_DATA_JSON_SCALAR_H
#define QBSVR_QBSVRL6_DATA_JSON_SCALAR_H

#include <string>
#include <string_view>

#include "qbsvrl6/data/table.h"
#include "qbsvrl6/data/utf8_window.h"

namespace qbsvrl6 {

struct JsonScalar {
    ValueType type = ValueType::Null;
    bool boolean = false;
    Number number;
    std::u16string_view text;  // in the reader's buffer
};

class JsonScalarReader {
public:
    explicit JsonScalarReader(const Utf8Window& window) : window_(window) {}

    // `token` is a text in the window: a string with its quotes and without control characters, or any other
    // text without spaces. Raises EngineError.
    JsonScalar read(std::string_view token);
    // A text as it is.
    std::u16string_view widened(std::string_view text);

private:
    std::u16string_view unescape(std::string_view raw);
    const char* unescapeOne(const char* from, const char* end, char16_t*& out) const;

    const Utf8Window& window_;
    std::u16string buffer_;
};

}  // namespace qbsvrl6

#endif

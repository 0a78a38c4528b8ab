// The encodings of text files.
#ifndef QBSVR_QBSVRL6_SUPPORT_ENCODINGS_H
#define QBSVR_QBSVRL6_SUPPORT_ENCODINGS_H

#include <cstddef>
#include <string_view>

namespace qbsvrl6 {

struct Encoding {
    std::string_view name;  // in lower case, as files and settings have it
    const char* converter;  // for iconv; null: UTF-8 or a part of it
};

// The encoding of this name, in any case; null if it is unknown.
const Encoding* findEncoding(std::string_view name);

// The length of the valid UTF-8 that the bytes begin with, in whole characters.
std::size_t validUtf8Bytes(std::string_view bytes);

}  // namespace qbsvrl6

#endif

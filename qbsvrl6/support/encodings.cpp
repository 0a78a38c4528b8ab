#include "qbsvrl6/support/encodings.h"

#include <algorithm>
#include <array>

#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

// The encodings of simplified Chinese are all read as GB18030, which contains the older ones.
constexpr std::array kEncodings = {
    Encoding{"utf-8", nullptr},           Encoding{"utf8", nullptr},          Encoding{"us-ascii", nullptr},
    Encoding{"gb18030", "GB18030"},       Encoding{"gbk", "GB18030"},         Encoding{"gb2312", "GB18030"},
    Encoding{"cp936", "GB18030"},         Encoding{"windows-936", "GB18030"}, Encoding{"big5", "BIG5"},
    Encoding{"iso-8859-1", "ISO-8859-1"}, Encoding{"windows-1252", "CP1252"},
};

}  // namespace

const Encoding* findEncoding(std::string_view name) {
    const auto known = std::find_if(kEncodings.begin(), kEncodings.end(), [&](const Encoding& encoding) {
        return std::equal(name.begin(), name.end(), encoding.name.begin(), encoding.name.end(),
                          [](char left, char right) { return lowered(left) == right; });
    });
    return known == kEncodings.end() ? nullptr : &*known;
}

std::size_t validUtf8Bytes(std::string_view bytes) {
    std::size_t length = 0;
    while (length < bytes.size()) {
        const auto lead = static_cast<unsigned char>(bytes[length]);
        const std::size_t character = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        if (!isValidUtf8(bytes.substr(length, character))) break;
        length += character;
    }
    return length;
}

}  // namespace qbsvrl6

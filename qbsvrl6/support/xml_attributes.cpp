#include "qbsvrl6/support/xml_attributes.h"

namespace qbsvrl6 {

std::size_t findAttribute(std::string_view text, std::size_t tag, std::string_view name, int skip) {
    constexpr std::size_t npos = std::string_view::npos;
    std::size_t at = text.find_first_of(" \t\r\n/>", tag);
    while (at < text.size()) {
        at = text.find_first_not_of(" \t\r\n", at);
        if (at == npos || text[at] == '/' || text[at] == '>') break;
        const std::size_t end = text.find_first_of(" \t\r\n=", at);
        const std::size_t open = text.find_first_of("\"'", at);
        if (end == npos || open == npos) break;
        if (text.substr(at, end - at) == name && skip-- == 0) return at;
        const std::size_t close = text.find(text[open], open + 1);
        if (close == npos) break;
        at = close + 1;
    }
    return tag;
}

}  // namespace qbsvrl6

#include "qbreport/http/query.h"

#include <algorithm>
#include <charconv>

namespace qbreport {

namespace {

std::string decoded(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned char byte = 0;
        const bool isCode = text[i] == '%' && i + 3 <= text.size() &&
                            std::from_chars(&text[i + 1], &text[i + 1] + 2, byte, 16).ptr == &text[i + 1] + 2;
        result += isCode ? static_cast<char>(byte) : text[i] == '+' ? ' ' : text[i];
        if (isCode) i += 2;
    }
    return result;
}

}  // namespace

std::vector<std::pair<std::string, std::string>> queryOf(std::string_view target) {
    std::vector<std::pair<std::string, std::string>> values;
    const std::size_t mark = target.find('?');
    std::string_view rest = mark == std::string_view::npos ? "" : target.substr(mark + 1);
    while (!rest.empty()) {
        const std::string_view part = rest.substr(0, rest.find('&'));
        rest.remove_prefix(std::min(part.size() + 1, rest.size()));
        const std::size_t equals = std::min(part.find('='), part.size());
        if (part.empty()) continue;
        values.emplace_back(decoded(part.substr(0, equals)),
                            equals < part.size() ? decoded(part.substr(equals + 1)) : "");
    }
    return values;
}

}  // namespace qbreport

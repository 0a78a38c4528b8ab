#include "qbsvrl6/template/raw_characters.h"

#include <algorithm>
#include <array>

namespace qbsvrl6 {

namespace {

// Whether the text after "&" is the name or number of a character.
bool beginsEntity(std::string_view text) {
    constexpr std::array<std::string_view, 5> kNames = {"amp;", "lt;", "gt;", "quot;", "apos;"};
    if (text.starts_with('#')) {
        const bool isHex = text.starts_with("#x");
        text.remove_prefix(isHex ? 2 : 1);
        const std::size_t digits =
            std::min(text.find_first_not_of(isHex ? "0123456789abcdefABCDEF" : "0123456789"), text.size());
        return digits > 0 && text.substr(digits).starts_with(';');
    }
    return std::any_of(kNames.begin(), kNames.end(),
                       [&](std::string_view name) { return text.starts_with(name); });
}

// The end of a comment, a section of characters or an instruction; `start` for anything else.
std::size_t endOfOther(std::string_view xml, std::size_t start) {
    constexpr std::array<std::array<std::string_view, 2>, 3> kOthers = {
        {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}}};
    for (const auto& [open, close] : kOthers) {
        if (!xml.substr(start).starts_with(open)) continue;
        const std::size_t end = xml.find(close, start + open.size());
        return end == std::string_view::npos ? xml.size() : end + close.size();
    }
    return start;
}

}  // namespace

std::vector<RawCharacter> findRawCharacters(std::string_view xml, std::size_t most) {
    std::vector<RawCharacter> found;
    std::size_t at = 0;
    while ((at = xml.find('<', at)) != std::string_view::npos && found.size() < most) {
        if (const std::size_t end = endOfOther(xml, at); end != at) {
            at = end;
            continue;
        }
        // A tag ends at the first ">" outside its attributes.
        while ((at = xml.find_first_of("\"'>", at)) != std::string_view::npos && xml[at] != '>') {
            const std::size_t close = std::min(xml.find(xml[at], at + 1), xml.size());
            for (++at; (at = std::min(xml.find_first_of("<&", at), close)) < close; ++at) {
                const bool isRaw = xml[at] == '<' || !beginsEntity(xml.substr(at + 1));
                if (isRaw && found.size() < most) found.push_back({xml[at], at});
            }
            at = std::min(close + 1, xml.size());
        }
        at = std::min(at, xml.size());
    }
    return found;
}

}  // namespace qbsvrl6

#include "qbreport/data_kind.h"

#include <cstddef>

#include "qbreport/files.h"

namespace qbreport {

namespace {

constexpr std::string_view kSpace = " \t\r\n";

// The text after its first JSON object; empty if the object does not end within the text.
std::string_view afterObject(std::string_view text) {
    std::size_t depth = 0;
    bool isInString = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (isInString) {
            if (c == '\\') ++i;
            if (c == '"') isInString = false;
        } else if (c == '"') {
            isInString = true;
        } else if (c == '{' || c == '[') {
            ++depth;
        } else if ((c == '}' || c == ']') && --depth == 0) {
            return text.substr(i + 1);
        }
    }
    return {};
}

std::string_view withoutSpace(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(kSpace);
    return begin == std::string_view::npos ? std::string_view() : text.substr(begin);
}

}  // namespace

std::string kindOfFile(const std::string& path) {
    const std::string extension = extensionOf(path);
    if (extension == "json" || extension == "xml" || extension == "csv") return extension;
    if (extension == "jsonl" || extension == "ndjson") return "jsonl";
    if (extension == "tsv") return "csv:separator=tab";
    return "";
}

std::string kindOfText(std::string_view bytes) {
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    // UTF-16 is read as JSON or XML; CSV in UTF-16 has to be named.
    if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) return "json";
    const std::string_view text = withoutSpace(bytes.substr(bytes.starts_with(kMark) ? kMark.size() : 0));
    if (text.empty() || text[0] == '[') return "json";
    if (text[0] == '<') return "xml";
    if (text[0] != '{') return "csv";
    return withoutSpace(afterObject(text)).starts_with('{') ? "jsonl" : "json";
}

}  // namespace qbreport

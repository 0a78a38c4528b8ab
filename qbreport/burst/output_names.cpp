#include "qbreport/burst/output_names.h"

#include <algorithm>

#include "qbreport/burst/digest.h"
#include "qbreport/console.h"
#include "qbreport/failure.h"
#include "qbreport/files.h"

namespace qbreport {

namespace {

constexpr std::size_t kMostBytes = 255;  // of a name, on nearly all file systems
constexpr std::size_t kSpareBytes = 16;  // for the suffix of a file that is being written
constexpr std::size_t kMarkDigits = 16;  // of the hash that replaces the end of a long name
constexpr std::string_view kReserved = "/\\:*?\"<>|%";
constexpr std::string_view kDevices[] = {"con", "prn", "aux", "nul"};

std::string escaped(std::string_view bytes) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        ((text += '%') += kDigits[byte >> 4]) += kDigits[byte & 15];
    }
    return text;
}

// Names that mean a device on Windows: "con", "lpt1".
bool isDevice(std::string_view value) {
    std::string name(value.substr(0, value.find('.')));
    std::transform(name.begin(), name.end(), name.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 'a' - 'A') : c; });
    const bool isNumbered = name.size() == 4 && (name.starts_with("com") || name.starts_with("lpt")) &&
                            name[3] >= '0' && name[3] <= '9';
    return isNumbered || std::find(std::begin(kDevices), std::end(kDevices), name) != std::end(kDevices);
}

// A name that is too long keeps its beginning and its extension, and a hash is in place of the rest.
std::string shortened(const std::string& name) {
    if (name.size() <= kMostBytes - kSpareBytes) return name;
    const std::string extension = extensionOf(name).size() <= kSpareBytes ? "." + extensionOf(name) : "";
    std::size_t size = kMostBytes - kSpareBytes - kMarkDigits - 2 - extension.size();
    while (size > 0 && (static_cast<unsigned char>(name[size]) & 0xC0) == 0x80) --size;
    return name.substr(0, size) + "%~" + digestOf(name).substr(0, kMarkDigits) + extension;
}

// The archive in a path: "out/a.tar" of "out/a.tar" and of "out/a.tar/{Account}.pdf".
std::string archiveIn(const std::string& output) {
    for (std::size_t end = 0; end < output.size();) {
        end = std::min(output.find('/', end + 1), output.size());
        const std::string path = output.substr(0, end);
        if (path.find('{') != std::string::npos) break;
        const std::string extension = extensionOf(path);
        if (extension != "tar" && extension != "zip") continue;
        if (fileKind(path) != FileKind::Folder) return path;
    }
    return "";
}

}  // namespace

std::string safeName(std::string_view value) {
    if (value.empty()) return "%empty";
    std::string name;
    const bool escapesFirst = value[0] == '.' || value[0] == '-' || value[0] == ' ' || isDevice(value);
    for (std::size_t i = 0; i < value.size();) {
        const std::size_t length = characterLength(value.substr(i));
        const std::string_view character = value.substr(i, std::max<std::size_t>(length, 1));
        const auto first = static_cast<unsigned char>(value[i]);
        const bool isLast = i + character.size() == value.size();
        const bool isReserved =
            first < 0x20 || first == 0x7F || kReserved.find(value[i]) != std::string_view::npos;
        const bool isAtEdge = (i == 0 && escapesFirst) || (isLast && (first == '.' || first == ' '));
        name += length == 0 || isReserved || isAtEdge ? escaped(character) : std::string(character);
        i += character.size();
    }
    return name;
}

OutputNames::OutputNames(const std::string& output, const std::string& key, const std::string& format) {
    if (output.empty())
        throw WrongUse("the documents have no names; name them, such as -o 'out/{" + key + "}.pdf'");
    archive_ = archiveIn(output);
    std::string pattern = output;
    if (isArchive()) {
        folder_ = archive_.substr(0, archive_.rfind('/') + 1);
        pattern = output.size() > archive_.size() + 1 ? output.substr(archive_.size() + 1)
                                                      : "{" + key + "}." + (format.empty() ? "pdf" : format);
    }
    parse(pattern);
    format_ = format.empty() ? extensionOf(parts_.back().isColumn ? "" : "x" + parts_.back().text) : format;
    if (columns().empty()) {
        throw WrongUse("every document would be \"" + output + "\"; name a column, such as -o 'out/{" + key +
                       "}.pdf'");
    }
    if (format_.empty()) {
        throw WrongUse("the format of \"" + output +
                       "\" is unknown: it has no extension; name it, such as -f pdf");
    }
    if (isArchive() || parts_.front().isColumn) return;
    std::string& first = parts_.front().text;
    folder_ = first.substr(0, first.rfind('/') + 1);
    first.erase(0, folder_.size());
}

void OutputNames::moveTo(const std::string& folder) {
    if (isArchive()) archive_ = folder + archive_.substr(folder_.size());
    folder_ = folder;
}

void OutputNames::parse(std::string_view pattern) {
    Part text;
    const auto endText = [&] {
        if (!text.text.empty()) parts_.push_back(text);
        text.text.clear();
    };
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const bool isDoubled = i + 1 < pattern.size() && pattern[i + 1] == pattern[i];
        if ((pattern[i] == '{' || pattern[i] == '}') && isDoubled) {
            text.text += pattern[i++];
        } else if (pattern[i] == '{') {
            const std::size_t end = pattern.find('}', i);
            if (end == std::string_view::npos || end == i + 1) {
                throw WrongUse("\"" + std::string(pattern.substr(i)) +
                               "\" names no column; write {Column}, and {{ for a brace");
            }
            endText();
            parts_.push_back({std::string(pattern.substr(i + 1, end - i - 1)), true});
            i = end;
        } else {
            text.text += pattern[i];
        }
    }
    endText();
}

std::vector<std::string> OutputNames::columns() const {
    std::vector<std::string> names;
    for (const Part& part : parts_) {
        if (part.isColumn) names.push_back(part.text);
    }
    return names;
}

std::string OutputNames::nameOf(const std::vector<std::string>& columns,
                                const std::vector<std::string>& values) const {
    std::string path;
    for (const Part& part : parts_) {
        if (!part.isColumn) {
            path += part.text;
            continue;
        }
        const auto column = std::find(columns.begin(), columns.end(), part.text) - columns.begin();
        path += safeName(values.at(static_cast<std::size_t>(column)));
    }
    std::string name;
    for (std::size_t begin = 0; begin <= path.size();) {
        const std::size_t end = std::min(path.find('/', begin), path.size());
        name += shortened(path.substr(begin, end - begin));
        if (end < path.size()) name += '/';
        begin = end + 1;
    }
    return name;
}

bool OutputNames::isOneToOne(const std::string& key) const {
    // The key is the only column between two slashes: "{Branch}/{Account}.pdf".
    const auto hasSlash = [](const Part& part) {
        return !part.isColumn && part.text.find('/') != std::string::npos;
    };
    for (std::size_t i = 0; i < parts_.size(); ++i) {
        if (!parts_[i].isColumn || parts_[i].text != key) continue;
        const bool startsName = i == 0 || hasSlash(parts_[i - 1]) || (i == 1 && !parts_[0].isColumn);
        const bool endsName = i + 1 == parts_.size() || hasSlash(parts_[i + 1]) ||
                              (i + 2 == parts_.size() && !parts_[i + 1].isColumn);
        if (startsName && endsName) return true;
    }
    return false;
}

}  // namespace qbreport

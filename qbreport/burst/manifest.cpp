#include "qbreport/burst/manifest.h"

#include <simdjson.h>

#include <algorithm>

#include "qbreport/console.h"

namespace qbreport {

namespace {

namespace ondemand = simdjson::ondemand;

constexpr std::size_t kStep = 1 << 16;
constexpr std::size_t kMostWaiting = 1 << 15;

// Calls `each` with the name and the JSON text of every member. Returns false for what is no valid object.
template <class Each>
bool forEachMember(const std::string& json, Each&& each) {
    ondemand::parser parser;
    const simdjson::padded_string text(json);
    ondemand::document document;
    ondemand::object object;
    if (parser.iterate(text).get(document) || document.get_object().get(object)) return false;
    for (auto member : object) {
        std::string_view name;
        std::string_view value;
        if (member.unescaped_key().get(name)) return false;
        const std::string known(name);
        if (simdjson::to_json_string(member.value()).get(value)) return false;
        while (value.ends_with(' ')) value.remove_suffix(1);
        each(known, std::string(value));
    }
    return document.current_location().error() == simdjson::OUT_OF_BOUNDS;  // nothing follows
}

std::vector<std::string> textsOf(const std::string& json) {
    std::vector<std::string> texts;
    ondemand::parser parser;
    const simdjson::padded_string text(json);
    ondemand::document document;
    ondemand::array array;
    if (parser.iterate(text).get(document) || document.get_array().get(array)) return texts;
    for (auto element : array) {
        std::string_view value;
        if (element.get_string().get(value)) break;
        texts.emplace_back(value);
    }
    return texts;
}

std::uint64_t numberOf(const std::string& json) { return std::strtoull(json.c_str(), nullptr, 10); }

}  // namespace

std::vector<std::pair<std::string, std::string>> membersOf(const std::string& json) {
    std::vector<std::pair<std::string, std::string>> members;
    const bool isValid = forEachMember(json, [&](const std::string& name, std::string value) {
        members.emplace_back(name, std::move(value));
    });
    return isValid ? members : std::vector<std::pair<std::string, std::string>>();
}

std::string textOf(const std::string& json) {
    const bool isPlain = json.size() > 1 && json.front() == '"' && json.find('\\') == std::string::npos;
    if (isPlain) return json.substr(1, json.size() - 2);
    const std::vector<std::string> texts = textsOf("[" + json + "]");
    return texts.empty() ? "" : texts.front();
}

std::string memberOf(const std::string& json, std::string_view name) {
    for (const auto& [known, value] : membersOf(json)) {
        if (known == name) return value;
    }
    return "";
}

std::string Entry::line(bool hasOffset) const {
    std::string line = "{\"key\":" + inJson(key) + ",\"file\":" + inJson(file);
    if (hasOffset) line += ",\"offset\":" + std::to_string(offset);
    line += ",\"bytes\":" + std::to_string(bytes) + ",\"sha256\":\"" + digest + "\"";
    line += ",\"pages\":" + std::to_string(pages) + ",\"at\":" + std::to_string(at);
    line += ",\"rows\":" + std::to_string(rows) + ",\"data\":\"" + data + "\"";
    if (!total.empty()) line += ",\"total\":\"" + total + "\"";
    line += ",\"warnings\":[";
    for (const std::string& warning : warnings) {
        if (!line.ends_with('[')) line += ',';
        line += inJson(warning);
    }
    return line + "]}";
}

std::optional<Entry> Entry::read(const std::string& line) {
    Entry entry;
    bool hasWarnings = false;  // the last member
    const bool isValid = forEachMember(line, [&](const std::string& name, const std::string& value) {
        if (name == "key") entry.key = textOf(value);
        if (name == "file") entry.file = textOf(value);
        if (name == "offset") entry.offset = numberOf(value);
        if (name == "bytes") entry.bytes = numberOf(value);
        if (name == "sha256") entry.digest = textOf(value);
        if (name == "pages") entry.pages = numberOf(value);
        if (name == "at") entry.at = numberOf(value);
        if (name == "rows") entry.rows = numberOf(value);
        if (name == "data") entry.data = textOf(value);
        if (name == "total") entry.total = textOf(value);
        if (name == "warnings") {
            entry.warnings = textsOf(value);
            hasWarnings = true;
        }
    });
    if (!isValid || !hasWarnings) return std::nullopt;
    return entry;
}

ManifestReader::ManifestReader(const std::string& path) : path_(path) {
    if (!exists(path)) return;
    file_ = openToRead(path);
    if (!readLine(head_)) head_.clear();
}

bool ManifestReader::readLine(std::string& line) {
    for (;;) {
        const std::size_t end = text_.find('\n', begin_);
        if (end != std::string::npos) {
            line.assign(text_, begin_, end - begin_);
            offset_ += end + 1 - begin_;
            begin_ = end + 1;
            return true;
        }
        if (!file_.isOpen()) return false;
        text_.erase(0, begin_);
        begin_ = 0;
        const std::size_t size = text_.size();
        text_.resize(size + kStep);
        const std::size_t read = readAt(file_, readTo_, text_.data() + size, kStep, path_);
        text_.resize(size + read);
        readTo_ += read;
        if (read == 0) return false;
    }
}

bool ManifestReader::next(Entry& entry) {
    const std::uint64_t before = offset_;
    if (readLine(line_)) {
        if (std::optional<Entry> known = Entry::read(line_)) {
            entry = std::move(*known);
            return true;
        }
    }
    offset_ = before;
    file_.close();
    text_.clear();
    begin_ = 0;
    return false;
}

void MergedManifests::add(const std::string& path) {
    Input input{ManifestReader(path), {}, false};
    input.hasEntry = input.reader.next(input.entry);
    inputs_.push_back(std::move(input));
}

bool MergedManifests::next(Entry& entry) {
    const auto first = std::min_element(inputs_.begin(), inputs_.end(), [](const Input& a, const Input& b) {
        return a.hasEntry && (!b.hasEntry || a.entry.at < b.entry.at);
    });
    if (first == inputs_.end() || !first->hasEntry) return false;
    entry = first->entry;
    for (Input& input : inputs_) {
        while (input.hasEntry && input.entry.at <= entry.at) input.hasEntry = input.reader.next(input.entry);
    }
    return true;
}

ManifestWriter::ManifestWriter(const std::string& path, const std::string& head, std::uint64_t size)
    : path_(path), file_(openToWrite(path, false)) {
    truncate(file_, size, path_);
    if (size == 0) waiting_ = head + "\n";
    flush(false);
}

void ManifestWriter::add(const std::string& line) {
    (waiting_ += line) += '\n';
    if (waiting_.size() > kMostWaiting) flush(false);
}

void ManifestWriter::flush(bool isSafe) {
    write(file_, waiting_, path_);
    waiting_.clear();
    if (isSafe) synchronize(file_, path_);
}

}  // namespace qbreport

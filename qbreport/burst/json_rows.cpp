// Rows of JSON: one object per line, or per element of an array.
#include <simdjson.h>

#include <algorithm>
#include <utility>

#include "qbreport/burst/rows.h"
#include "qbreport/failure.h"

namespace qbreport {

namespace {

namespace ondemand = simdjson::ondemand;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kSpace = " \t\r\n";
constexpr int kMostDepth = 200;  // as that of the engine

bool isSpace(char c) { return kSpace.find(c) != std::string_view::npos; }

std::string_view trimmed(std::string_view text) {
    const std::size_t end = text.find_last_not_of(kSpace);
    return text.substr(0, end + 1);  // npos + 1 is 0
}

// Whether nothing follows the value that was read.
bool isAtEnd(ondemand::document& document) {
    return document.current_location().error() == simdjson::OUT_OF_BOUNDS;
}

// The values of the wanted columns in the text of an object. An object within it has columns such as
// "address.city".
class ObjectReader {
public:
    explicit ObjectReader(const std::vector<std::string>& columns) : columns_(columns) {}

    // `text` is followed by bytes that may be read. Returns what is wrong with it; empty: nothing.
    std::string_view read(std::string_view text, std::vector<std::string>& values) {
        values.assign(columns_.size(), std::string());
        ondemand::document document;
        ondemand::object object;
        if (parser_.iterate(text.data(), text.size(), text.size() + Window::kPadding).get(document) ||
            document.get_object().get(object)) {
            return "this row is no JSON object";
        }
        return readMembers(object, "", values, 0) && isAtEnd(document) ? "" : "this row is not valid JSON";
    }

    std::vector<std::string> names(std::string_view text) {
        std::vector<std::string> names;
        ondemand::document document;
        ondemand::object object;
        const simdjson::padded_string copy(text);
        if (parser_.iterate(copy).get(document) || document.get_object().get(object)) return names;
        for (auto member : object) {
            std::string_view name;
            if (member.unescaped_key().get(name)) break;
            names.emplace_back(name);
        }
        return names;
    }

private:
    // Whether a wanted column is the member, or within it.
    bool isWanted(const std::string& name) const {
        return std::any_of(columns_.begin(), columns_.end(), [&](const std::string& column) {
            return column.starts_with(name) && (column.size() == name.size() || column[name.size()] == '.');
        });
    }

    bool readMembers(ondemand::object& object, const std::string& prefix, std::vector<std::string>& values,
                     int depth) {
        for (auto member : object) {
            std::string_view key;
            ondemand::value value;
            if (member.unescaped_key().get(key)) return false;
            const std::string name = prefix.empty() ? std::string(key) : prefix + "." + std::string(key);
            if (member.value().get(value)) return false;
            if (isWanted(name) && !readValue(value, name, values, depth)) return false;
        }
        return true;
    }

    bool readValue(ondemand::value& value, const std::string& name, std::vector<std::string>& values,
                   int depth) {
        ondemand::json_type type{};
        if (value.type().get(type)) return false;
        if (type == ondemand::json_type::object) {
            ondemand::object inner;
            return depth < kMostDepth && !value.get_object().get(inner) &&
                   readMembers(inner, name, values, depth + 1);
        }
        std::string_view text;
        if (type == ondemand::json_type::string) {
            if (value.get_string().get(text)) return false;
        } else if (type == ondemand::json_type::array) {
            ondemand::array array;
            if (value.get_array().get(array) || array.raw_json().get(text)) return false;
        } else if (type != ondemand::json_type::null) {
            text = trimmed(value.raw_json_token());
        }
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            if (columns_[i] == name) values[i] = text;
        }
        return true;
    }

    const std::vector<std::string> columns_;
    ondemand::parser parser_;
};

class JsonRows : public Rows {
public:
    JsonRows(const Source& source, const std::vector<std::string>& columns, Digest* digest)
        : source_(source), window_(source, digest), reader_(columns) {}

    std::vector<std::string> columns() const override { return ObjectReader({}).names(last_); }
    std::string kind() const override { return "jsonl"; }
    std::string head() const override { return ""; }

protected:
    // The row of the first `size` bytes of the window, which are dropped.
    void take(std::size_t size, std::uint64_t line, Row& row) {
        const std::string_view text = window_.text().substr(0, size);
        row.offset = window_.offset();
        row.line = line;
        row.bytes = text;
        const std::string_view problem = reader_.read(text, row.values);
        if (!problem.empty()) throw Failure(placeOf(source_, row.offset, line) + ": " + std::string(problem));
        last_ = text;
        window_.drop(size);
    }

    void skipByteOrderMark() {
        if (window_.offset() != 0 || !window_.text().empty()) return;
        window_.readMore();
        if (window_.text().starts_with(kByteOrderMark)) window_.drop(kByteOrderMark.size());
    }

    const Source& source_;
    Window window_;

private:
    ObjectReader reader_;
    std::string_view last_;
};

class JsonLines : public JsonRows {
public:
    using JsonRows::JsonRows;

    bool next(Row& row) override {
        skipByteOrderMark();
        for (;;) {
            const std::size_t size = lineSize();
            if (size == 0) return false;
            if (isCounted_) ++line_;
            if (trimmed(window_.text().substr(0, size)).empty()) {
                window_.drop(size);
                continue;
            }
            take(size, line_, row);
            return true;
        }
    }

    void seekBefore(std::uint64_t offset) override {
        if (offset == 0) return;
        isCounted_ = false;
        line_ = 0;
        window_.seek(lineStart(offset));
    }

private:
    static constexpr std::uint64_t kStep = 1 << 16;

    // The size of the first line with its end; 0 at the end of the source.
    std::size_t lineSize() {
        for (std::size_t searched = 0;;) {
            const std::string_view text = window_.text();
            const std::size_t end = text.find('\n', searched);
            if (end != std::string_view::npos) return end + 1;
            searched = text.size();
            if (!window_.readMore()) return searched;
        }
    }

    // The beginning of the last line that is not empty and begins before the offset.
    std::uint64_t lineStart(std::uint64_t offset) const {
        bool hasText = false;
        for (std::uint64_t end = offset; end > 0;) {
            const std::uint64_t begin = end - std::min(end, kStep);
            std::string bytes(static_cast<std::size_t>(end - begin), '\0');
            bytes.resize(readAt(source_.file(), begin, bytes.data(), bytes.size(), source_.name()));
            for (std::size_t i = bytes.size(); i > 0; --i) {
                if (bytes[i - 1] == '\n' && hasText) return begin + i;
                hasText = hasText || !isSpace(bytes[i - 1]);
            }
            end = begin;
        }
        return 0;
    }

    bool isCounted_ = true;
    std::uint64_t line_ = 0;
};

class JsonArray : public JsonRows {
public:
    using JsonRows::JsonRows;

    bool next(Row& row) override {
        skipByteOrderMark();
        if (!hasBegun_) {
            if (firstCharacter() != '[') failArray();
            hasBegun_ = true;
            window_.drop(1);
        } else if (firstCharacter() == ',') {
            window_.drop(1);
        } else if (firstCharacter() != ']') {
            failArray();
        }
        if (firstCharacter() == ']') {
            window_.drop(1);
            if (firstCharacter() != '\0') failArray();
            return false;
        }
        take(elementSize(), 0, row);
        makeLine(row);
        return true;
    }

    void seekBefore(std::uint64_t) override {}

private:
    [[noreturn]] void failArray() const {
        throw Failure("\"" + source_.name() + "\", byte " + std::to_string(window_.offset()) +
                      ": an array of objects is expected; documents are made of its elements");
    }

    // After the white space; 0 at the end.
    char firstCharacter() {
        for (;;) {
            const std::string_view text = window_.text();
            const std::size_t begin = text.find_first_not_of(kSpace);
            window_.drop(begin == std::string_view::npos ? text.size() : begin);
            if (begin != std::string_view::npos) return window_.text()[0];
            if (!window_.readMore()) return '\0';
        }
    }

    std::size_t elementSize() {
        std::size_t depth = 0;
        bool isInString = false;
        for (std::size_t i = 0;; ++i) {
            while (i >= window_.text().size()) {
                if (!window_.readMore()) failArray();
            }
            const char c = window_.text()[i];
            if (isInString) {
                if (c == '\\') ++i;
                if (c == '"') isInString = false;
            } else if (c == '"') {
                isInString = true;
            } else if (c == '{' || c == '[') {
                ++depth;
            } else if (c == '}' || c == ']') {
                if (depth <= 1) return depth == 1 ? i + 1 : i;
                --depth;
            } else if (c == ',' && depth == 0) {
                return i;
            }
        }
    }

    // Line ends in JSON are white space: without them, the element is a row of JSON Lines.
    void makeLine(Row& row) {
        row_ = row.bytes;
        std::replace_if(
            row_.begin(), row_.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
        row.bytes = row_;
    }

    bool hasBegun_ = false;
    std::string row_;
};

}  // namespace

std::unique_ptr<Rows> openJsonLines(const Source& source, const std::vector<std::string>& columns,
                                    Digest* digest) {
    return std::make_unique<JsonLines>(source, columns, digest);
}

std::unique_ptr<Rows> openJsonArray(const Source& source, const std::vector<std::string>& columns,
                                    Digest* digest) {
    return std::make_unique<JsonArray>(source, columns, digest);
}

}  // namespace qbreport

// JSON by simdjson's on-demand parser. It checks only what is read, so everything is read: each scalar's
// spelling is checked here, by the grammar of RFC 8259, and values that are kept as text are walked as well.
#include <simdjson.h>

#include <algorithm>
#include <charconv>
#include <utility>
#include <vector>

#include "qbsvrl6/data/readers.h"
#include "qbsvrl6/data/widen.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/enough_memory.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

namespace ondemand = simdjson::ondemand;

// The list of simdjson's implementations is made while the library is loaded: without memory, that ends the
// process.
[[maybe_unused]] const bool kProcessTables = !simdjson::get_active_implementation()->name().empty();

// number = [ "-" ] ( "0" / digit1-9 *digit ) [ "." 1*digit ] [ ( "e" / "E" ) [ "+" / "-" ] 1*digit ]
bool isNumber(std::string_view token) {
    const char* at = token.data();
    const char* const end = at + token.size();
    const auto digits = [&] {
        const char* const first = at;
        while (at != end && isDigit(*at)) ++at;
        return at != first;
    };
    if (at != end && *at == '-') ++at;
    if (at != end && *at == '0') {
        ++at;
    } else if (!digits()) {
        return false;
    }
    if (at != end && *at == '.') {
        ++at;
        if (!digits()) return false;
    }
    if (at != end && (*at == 'e' || *at == 'E')) {
        ++at;
        if (at != end && (*at == '+' || *at == '-')) ++at;
        if (!digits()) return false;
    }
    return at == end;
}

struct Scalar {
    ValueType type = ValueType::Null;
    bool boolean = false;
    Number number;
    std::u16string_view text;  // in the reader's buffer
};

class JsonReader {
public:
    explicit JsonReader(const SourceText& source)
        : source_(source),
          text_(source.text().data(), source.text().size(), source.text().capacity()),
          end_(text_.data() + text_.size()) {}

    DataSet read() {
        simdjson::error_code error = simdjson::SUCCESS;
        try {
            readRoot();
        } catch (const simdjson::simdjson_error& failure) {
            error = failure.error();
        }
        if (error != simdjson::SUCCESS) failBy(error);
        return std::move(data_);
    }

private:
    void readRoot() {
        // A parser that found no memory for its texts does not report it.
        const simdjson::error_code error = withEnoughMemory([this] {
            parser_ = ondemand::parser();
            return parser_.iterate(text_).get(document_);
        });
        if (error != simdjson::SUCCESS) throw simdjson::simdjson_error(error);
        opened_ = true;
        if (document_.type() == ondemand::json_type::array) {
            readTable(document_.get_array(), {});
        } else {
            readObject(document_.get_object(), 1);
        }
        const char* rest = nullptr;  // there is no location once all is read
        if (document_.current_location().get(rest) == simdjson::SUCCESS) fail(kTextAfter, rest);
    }

    // An object that isn't a row: tables and parameters, their names led by `path_`.
    void readObject(ondemand::object object, int depth) {
        for (auto entry : object) {
            ondemand::field field = std::move(entry);
            const std::size_t outer = extendPath(field.unescaped_key());
            ondemand::value value = field.value();
            switch (value.type()) {
                case ondemand::json_type::array:
                    readTable(value.get_array(), toUtf16(path_));
                    break;
                case ondemand::json_type::object:
                    checkDepth(depth + 1, value);
                    readObject(value.get_object(), depth + 1);
                    break;
                default:
                    addParameter(takeScalar(value));
            }
            path_.resize(outer);
        }
    }

    void addParameter(const Scalar& scalar) {
        data_.add({toUtf16(path_), scalar.type, scalar.number, scalar.boolean, std::u16string(scalar.text)});
    }

    void readTable(ondemand::array rows, std::u16string name) {
        Table table(std::move(name));
        for (auto element : rows) {
            ondemand::value value = element.value();
            table.beginRow();
            if (value.type() == ondemand::json_type::object) {
                readRecord(value.get_object(), table, ColumnNames::kRow, 2);
            } else {
                setCell(value, table, table.names().nameOf(ColumnNames::kRow, kValueColumn), 2);
            }
        }
        data_.add(std::move(table));
    }

    // The row, or an object within it.
    void readRecord(ondemand::object record, Table& table, ColumnNames::Id name, int depth) {
        table.names().beginRecord(name);
        for (auto entry : record) {
            ondemand::field field = std::move(entry);
            const ColumnNames::Id key = table.names().nameOf(name, field.unescaped_key());
            setCell(field.value(), table, key, depth);
        }
    }

    void setCell(ondemand::value value, Table& table, ColumnNames::Id name, int depth) {
        switch (value.type()) {
            case ondemand::json_type::object:
                checkDepth(depth + 1, value);
                readRecord(value.get_object(), table, name, depth + 1);
                return;
            case ondemand::json_type::array: {
                const std::size_t column = columnOf(table, name, value);
                table.setText(column, takeText(value, depth));
                return;
            }
            default:
                break;
        }
        const std::size_t column = columnOf(table, name, value);
        const Scalar scalar = takeScalar(value);
        switch (scalar.type) {
            case ValueType::Boolean:
                table.setBoolean(column, scalar.boolean);
                break;
            case ValueType::Number:
                table.setNumber(column, scalar.number, scalar.text);
                break;
            case ValueType::Text:
                table.setText(column, scalar.text);
                break;
            default:
                table.setNull(column);
        }
    }

    std::size_t columnOf(Table& table, ColumnNames::Id name, ondemand::value& place) {
        const std::size_t column = table.columnOf(name);
        if (column == Table::npos) {
            source_.fail(ErrorCode::LimitExceeded,
                         "more than " + std::to_string(limits::kDataColumns) + " columns", offset(place));
        }
        return column;
    }

    Scalar takeScalar(ondemand::value& value) {
        std::string_view token = value.raw_json_token();
        const std::size_t last = token.find_last_not_of(" \t\r\n");
        token = token.substr(0, last + 1);
        Scalar scalar;
        if (token.front() == '"') {
            scalar.type = ValueType::Text;
            scalar.text = unescape(token.substr(1, token.size() - 2));
        } else if (token == "true" || token == "false") {
            scalar.type = ValueType::Boolean;
            scalar.boolean = token == "true";
            scalar.text = widen(token, buffer_);
        } else if (isNumber(token)) {
            // What no double can hold even nearly stays text.
            scalar.type = Number::parse(token, scalar.number) ? ValueType::Number : ValueType::Text;
            scalar.text = widen(token, buffer_);
        } else if (token != "null") {
            fail("a value is none of JSON's", token.data());
        }
        return scalar;
    }

    // A nested array as it is written, once it is checked.
    std::u16string_view takeText(ondemand::value& value, int depth) {
        const char* const begin = value.current_location();
        const char* const last = checkArray(value, depth + 1);
        return widen({begin, static_cast<std::size_t>(last - begin)}, buffer_);
    }

    void check(ondemand::value value, int depth) {
        switch (value.type()) {
            case ondemand::json_type::array:
                checkArray(value, depth + 1);
                break;
            case ondemand::json_type::object:
                checkDepth(depth + 1, value);
                for (auto entry : value.get_object()) {
                    ondemand::field field = std::move(entry);
                    (void)std::string_view(field.unescaped_key());
                    check(field.value(), depth + 1);
                }
                break;
            default:
                takeScalar(value);
        }
    }

    const char* checkArray(ondemand::value& array, int depth) {
        checkDepth(depth, array);
        for (auto element : array.get_array()) check(element.value(), depth);
        const char* after = end_;
        if (document_.current_location().get(after) != simdjson::SUCCESS) after = end_;
        // The parser is at the next token; the bracket is the last one before it.
        while (after[-1] != ']') --after;
        return after;
    }

    // string = *( unescaped / "\" ( one of "\/bfnrt or quote / "u" 4HEXDIG ) ); control characters were
    // refused by the parser.
    std::u16string_view unescape(std::string_view raw) {
        if (buffer_.size() < raw.size()) buffer_.resize(raw.size());
        char16_t* out = buffer_.data();
        const char* from = raw.data();
        const char* const end = from + raw.size();
        while (true) {
            from = copyAscii(from, end, out, [](char c) { return c == '\\'; });
            if (from == end) break;
            if (*from == '\\') {
                from = unescapeOne(from, end, out);
            } else {
                putCharacter(out, takeCharacter(from));
            }
        }
        return {buffer_.data(), static_cast<std::size_t>(out - buffer_.data())};
    }

    const char* unescapeOne(const char* from, const char* end, char16_t*& out) {
        constexpr std::string_view kLetters = "\"\\/bfnrt";
        constexpr std::u16string_view kMeanings = u"\"\\/\b\f\n\r\t";
        const std::size_t letter = end - from > 1 ? kLetters.find(from[1]) : std::string_view::npos;
        if (letter != std::string_view::npos) {
            *out++ = kMeanings[letter];
            return from + 2;
        }
        unsigned unit = 0;
        if (end - from < 6 || from[1] != 'u' ||
            std::from_chars(from + 2, from + 6, unit, 16).ptr != from + 6) {
            fail("a backslash starts no escape that JSON knows", from);
        }
        *out++ = static_cast<char16_t>(unit);
        return from + 6;
    }

    std::size_t extendPath(std::string_view key) {
        const std::size_t outer = path_.size();
        if (outer > 0) path_ += '.';
        path_ += key;
        return outer;
    }

    void checkDepth(int depth, ondemand::value& place) {
        if (depth <= limits::kDataDepth) return;
        source_.fail(ErrorCode::LimitExceeded,
                     "nested deeper than " + std::to_string(limits::kDataDepth) + " levels", offset(place));
    }

    std::size_t offset(ondemand::value& value) {
        const char* location = end_;
        if (value.current_location().get(location) != simdjson::SUCCESS) location = end_;
        return static_cast<std::size_t>(location - text_.data());
    }

    [[noreturn]] void fail(const std::string& message, const char* location) {
        source_.fail(ErrorCode::BadData, message, static_cast<std::size_t>(location - text_.data()));
    }

    [[noreturn]] void failBy(simdjson::error_code error) {
        const char* location = end_;
        if (opened_ && document_.current_location().get(location) != simdjson::SUCCESS) location = end_;
        location = std::min(location, end_);
        switch (error) {
            case simdjson::UNCLOSED_STRING:
                fail("a string has no closing quote", end_);
            case simdjson::UNESCAPED_CHARS:
                fail("a control character in a string", outline().control);
            case simdjson::INCOMPLETE_ARRAY_OR_OBJECT:
                if (outline().after != end_) fail(kTextAfter, outline().after);
                location = end_;
                break;
            default:
                break;
        }
        const Outline found = outline();
        if (found.wrong != end_ && found.wrong <= location) {
            fail(std::string("this bracket closes the \"") + *found.opened + "\" of line " +
                     lineOf(found.opened) + "; write \"" + closerOf(*found.opened) + "\"",
                 found.wrong);
        }
        if (location == end_) {
            const bool isOpen = found.opened != end_;
            fail(isOpen ? std::string("the data ends early: the \"") + *found.opened + "\" of line " +
                              lineOf(found.opened) + " is not closed"
                        : "the data ends early",
                 end_);
        }
        fail("the data is not valid JSON here", location);
    }

    // Errors that the parser finds before it reads, without a position.
    struct Outline {
        const char* control;  // the first control character in a string
        const char* after;    // the first character after the closed root
        const char* wrong;    // the first bracket that closes one of the other form
        const char* opened;   // the bracket that `wrong` closes, else the innermost one that is never closed
    };
    static char closerOf(char bracket) { return bracket == '[' ? ']' : '}'; }
    std::string lineOf(const char* location) const {
        return std::to_string(source_.place(static_cast<std::size_t>(location - text_.data())).position.line);
    }
    Outline outline() const {
        Outline found{end_, end_, end_, end_};
        bool inString = false;
        bool started = false;
        std::vector<const char*> open;
        for (const char* at = text_.data(); at < end_; ++at) {
            const char c = *at;
            if (inString) {
                if (static_cast<unsigned char>(c) < 0x20 && found.control == end_) found.control = at;
                if (c == '\\') ++at;
                inString = c != '"';
            } else if (c != ' ' && c != '\t' && c != '\r' && c != '\n') {
                if (started && open.empty() && found.after == end_) found.after = at;
                started = true;
                inString = c == '"';
                if (c == '[' || c == '{') open.push_back(at);
                if ((c == ']' || c == '}') && !open.empty()) {
                    if (c != closerOf(*open.back()) && found.wrong == end_) {
                        found.wrong = at;
                        found.opened = open.back();
                    }
                    open.pop_back();
                }
            }
        }
        if (found.wrong == end_ && !open.empty()) found.opened = open.back();
        return found;
    }

    static constexpr const char* kTextAfter = "text after the end of the data";

    const SourceText& source_;
    static_assert(SourceText::kReadAhead >= simdjson::SIMDJSON_PADDING);

    simdjson::padded_string_view text_;
    const char* end_;
    ondemand::parser parser_;
    ondemand::document document_;
    bool opened_ = false;  // a document that isn't has no location
    DataSet data_;
    std::string path_;
    std::u16string buffer_;
};

}  // namespace

DataSet readJson(const SourceText& source) { return JsonReader(source).read(); }

}  // namespace qbsvrl6

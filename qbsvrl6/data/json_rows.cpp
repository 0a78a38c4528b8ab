// simdjson's on-demand parser checks only what is read, so everything is read: each scalar's spelling is
// checked, and values that are kept as text are walked as well.
#include "qbsvrl6/data/json_rows.h"

#include <simdjson.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "qbsvrl6/data/json_outline.h"
#include "qbsvrl6/data/json_scalar.h"
#include "qbsvrl6/data/readers.h"
#include "qbsvrl6/support/enough_memory.h"
#include "qbsvrl6/support/limits.h"

namespace qbsvrl6 {

namespace {

namespace ondemand = simdjson::ondemand;

static_assert(Utf8Window::kReadAhead >= simdjson::SIMDJSON_PADDING);

// The list of simdjson's implementations is made while the library is loaded: without memory, that ends the
// process.
[[maybe_unused]] const bool kProcessTables = !simdjson::get_active_implementation()->name().empty();

constexpr std::string_view kSpaces = " \t\r\n";

// Whether one of the elements of the array that begins the text is an object.
bool holdsObjects(std::string_view text) {
    std::size_t depth = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        switch (text[at]) {
            case '"':
                for (++at; at < text.size() && text[at] != '"'; ++at) {
                    if (text[at] == '\\') ++at;
                }
                break;
            case '[':
                ++depth;
                break;
            case ']':
                if (--depth == 0) return false;
                break;
            case '{':
                if (depth == 1) return true;
                ++depth;
                break;
            case '}':
                --depth;
                break;
            default:
                break;
        }
    }
    return false;
}

}  // namespace

class JsonRows::Reader {
public:
    explicit Reader(const Utf8Window& window) : window_(window), scalars_(window) {}

    std::size_t read(std::string_view text, NestedTable& rows) {
        text_ = text;
        simdjson::error_code error = simdjson::SUCCESS;
        std::size_t count = 0;
        opened_ = false;
        try {
            open();
            count = readRows(document_.get_array(), rows, 1);
            const char* rest = nullptr;  // there is no location once all is read
            if (document_.current_location().get(rest) == simdjson::SUCCESS) {
                failBySyntax(window_, window_.offsetOf(rest));
            }
        } catch (const simdjson::simdjson_error& failure) {
            error = failure.error();
        }
        if (error != simdjson::SUCCESS) failBy(error);
        return count;
    }

private:
    const char* end() const { return text_.data() + text_.size(); }

    // A parser that found no memory for its texts does not report it.
    void open() {
        simdjson::error_code error = simdjson::SUCCESS;
        if (parser_.capacity() < text_.size()) {
            const std::size_t capacity = std::max(text_.size(), 2 * parser_.capacity());
            error = withEnoughMemory([this, capacity] {
                parser_ = ondemand::parser();
                return parser_.allocate(capacity);
            });
        }
        if (error == simdjson::SUCCESS) {
            const simdjson::padded_string_view view(text_.data(), text_.size(),
                                                    text_.size() + Utf8Window::kReadAhead);
            error = parser_.iterate(view).get(document_);
        }
        if (error != simdjson::SUCCESS) throw simdjson::simdjson_error(error);
        opened_ = true;
    }

    // `depth` is that of the array.
    std::size_t readRows(ondemand::array array, NestedTable& rows, int depth) {
        Table& table = rows.table();
        std::size_t count = 0;
        for (auto element : array) {
            ondemand::value value = element.value();
            table.beginRow();
            ++count;
            const ondemand::json_type type = value.type();
            if (type == ondemand::json_type::object) {
                checkDepth(depth + 1, value);
                readRecord(value.get_object(), rows, ColumnNames::kRow, depth + 1);
                continue;
            }
            const ColumnNames::Id name = table.names().nameOf(ColumnNames::kRow, kValueColumn);
            if (type == ondemand::json_type::array) {
                setText(value, rows.table(), name, depth + 1);
            } else {
                setCell(value, rows, name, depth + 1);
            }
        }
        return count;
    }

    // The row, or an object within it.
    void readRecord(ondemand::object record, NestedTable& rows, ColumnNames::Id name, int depth) {
        ColumnNames& names = rows.table().names();
        names.beginRecord(name);
        for (auto entry : record) {
            ondemand::field field = std::move(entry);
            const ColumnNames::Id key = names.nameOf(name, field.unescaped_key());
            setCell(field.value(), rows, key, depth);
        }
    }

    void setCell(ondemand::value value, NestedTable& rows, ColumnNames::Id name, int depth) {
        Table& table = rows.table();
        switch (value.type()) {
            case ondemand::json_type::object:
                checkDepth(depth + 1, value);
                readRecord(value.get_object(), rows, name, depth + 1);
                return;
            case ondemand::json_type::array:
                setArray(value, rows, name, depth + 1);
                return;
            default:
                break;
        }
        const std::size_t column = columnOf(table, name, value);
        const JsonScalar scalar = takeScalar(value);
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

    // An array with objects is rows of a child table; any other is its text, or nothing if it is empty.
    void setArray(ondemand::value& value, NestedTable& rows, ColumnNames::Id name, int depth) {
        const char* const begin = value.current_location();
        if (holdsObjects({begin, static_cast<std::size_t>(end() - begin)})) {
            checkDepth(depth, value);
            readRows(value.get_array(), rows.child(name), depth);
        } else {
            setText(value, rows.table(), name, depth);
        }
    }

    void setText(ondemand::value& array, Table& table, ColumnNames::Id name, int depth) {
        const std::size_t column = columnOf(table, name, array);
        const char* const begin = array.current_location();
        const char* const last = checkArray(array, depth);
        const std::string_view text(begin, static_cast<std::size_t>(last - begin));
        if (text.find_first_not_of(kSpaces, 1) == text.size() - 1) {
            table.setNull(column);
        } else {
            table.setText(column, scalars_.widened(text));
        }
    }

    std::size_t columnOf(Table& table, ColumnNames::Id name, ondemand::value& place) {
        const std::size_t column = table.columnOf(name);
        if (column == Table::npos) {
            window_.fail(ErrorCode::LimitExceeded,
                         "more than " + std::to_string(limits::kDataColumns) + " columns", offset(place));
        }
        return column;
    }

    JsonScalar takeScalar(ondemand::value& value) {
        const std::string_view token = value.raw_json_token();
        return scalars_.read(token.substr(0, token.find_last_not_of(kSpaces) + 1));
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

    // Returns the position after the array.
    const char* checkArray(ondemand::value& array, int depth) {
        checkDepth(depth, array);
        for (auto element : array.get_array()) check(element.value(), depth);
        const char* after = end();
        if (document_.current_location().get(after) != simdjson::SUCCESS) after = end();
        // The parser is at the next token; the bracket is the last one before it.
        while (after[-1] != ']') --after;
        return after;
    }

    void checkDepth(int depth, ondemand::value& place) {
        if (depth <= limits::kDataDepth) return;
        window_.fail(ErrorCode::LimitExceeded,
                     "nested deeper than " + std::to_string(limits::kDataDepth) + " levels", offset(place));
    }

    std::size_t offset(ondemand::value& value) {
        const char* location = end();
        if (value.current_location().get(location) != simdjson::SUCCESS) location = end();
        return window_.offsetOf(location);
    }

    [[noreturn]] void failBy(simdjson::error_code error) {
        const char* const last = end() - 1;
        const char* location = last;
        if (opened_ && document_.current_location().get(location) != simdjson::SUCCESS) location = last;
        location = std::clamp(location, text_.data() + 1, last);  // the first bracket is before the window
        const JsonOutline outline(text_.substr(0, text_.size() - 1));
        const auto fail = [&](const char* message, const char* at) {
            window_.fail(ErrorCode::BadData, message, window_.offsetOf(at));
        };
        if (outline.endsInString) fail("a string has no closing quote", last);
        if (error == simdjson::UNESCAPED_CHARS) fail("a control character in a string", outline.control);
        // The first and the last bracket of the text are not those of a row.
        if (outline.opened != text_.data() && outline.wrong <= location) {
            const int line = window_.place(window_.offsetOf(outline.opened)).position.line;
            if (outline.wrong < last) {
                failByBracket(window_, window_.offsetOf(outline.wrong), *outline.opened, line);
            }
            if (location == last) failByEnd(window_, window_.offsetOf(last), *outline.opened, line);
        }
        failBySyntax(window_, window_.offsetOf(location));
    }

    const Utf8Window& window_;
    std::string_view text_;
    ondemand::parser parser_;
    ondemand::document document_;
    bool opened_ = false;  // a document that isn't has no location
    JsonScalarReader scalars_;
};

JsonRows::JsonRows(const Utf8Window& window) : reader_(std::make_unique<Reader>(window)) {}
JsonRows::~JsonRows() = default;

std::size_t JsonRows::read(std::string_view text, NestedTable& rows) { return reader_->read(text, rows); }

}  // namespace qbsvrl6

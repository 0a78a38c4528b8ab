// Reads JSON in a window. The objects around the tables are read here; of a table, as many rows as the window
// holds are read at a time, as an array of their own.
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qbsvrl6/data/json_outline.h"
#include "qbsvrl6/data/json_rows.h"
#include "qbsvrl6/data/json_scalar.h"
#include "qbsvrl6/data/readers.h"
#include "qbsvrl6/data/row_splitter.h"
#include "qbsvrl6/data/utf8_window.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

constexpr bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
constexpr std::string_view kEndsWord = " \t\r\n,:\"[]{}";

class JsonReader {
public:
    explicit JsonReader(ByteSource& source) : window_(source), rows_(window_), scalars_(window_) {}

    DataSet read() {
        if (next() == '[') {
            readTable({});
        } else {
            readObject();
        }
        if (next() != kEnd) window_.fail(ErrorCode::BadData, "text after the end of the data", at_);
        return std::move(data_);
    }

    // Each line is a row of a table without a name.
    DataSet readLines() {
        NestedTable table(data_, {});
        while (next() != kEnd) readLine(table, findLineEnd());
        table.endRows();
        return std::move(data_);
    }

private:
    static constexpr int kEnd = -1;

    struct Bracket {
        char bracket;
        std::size_t offset;
        int line;  // 0: in the window
    };

    // The next character that is no space.
    int next() {
        for (;; ++at_) {
            if (at_ == window_.end() && !readMore()) return kEnd;
            const char c = *window_.at(at_);
            if (!isSpace(c)) return static_cast<unsigned char>(c);
        }
    }

    // Drops what is before `at_`.
    bool readMore() {
        for (Bracket& open : open_) {
            if (open.line == 0) open.line = lineOf(open);
        }
        window_.dropBefore(at_);
        return window_.read();
    }

    int lineOf(const Bracket& open) const {
        return open.line != 0 ? open.line : window_.place(open.offset).position.line;
    }

    void open() {
        open_.push_back({*window_.at(at_), at_, 0});
        ++at_;
    }

    void close(char closing) {
        if (next() != closing) failHere();
        open_.pop_back();
        ++at_;
    }

    // An object that isn't a row: tables and parameters, their names led by `path_`.
    void readObject() {
        if (open_.size() >= limits::kDataDepth) {
            window_.fail(ErrorCode::LimitExceeded,
                         "nested deeper than " + std::to_string(limits::kDataDepth) + " levels", at_);
        }
        open();
        if (next() != '}') {
            readMember();
            while (next() == ',') {
                ++at_;
                readMember();
            }
        }
        close('}');
    }

    void readMember() {
        if (next() != '"') failHere();
        const std::size_t outer = path_.size();
        if (outer > 0) path_ += '.';
        path_ += toUtf8(scalars_.read(takeString()).text);
        if (next() != ':') failHere();
        ++at_;
        switch (next()) {
            case '[':
                readTable(toUtf16(path_));
                break;
            case '{':
                readObject();
                break;
            default:
                readParameter();
        }
        path_.resize(outer);
    }

    void readParameter() {
        const JsonScalar scalar = scalars_.read(*window_.at(at_) == '"' ? takeString() : takeWord());
        data_.add({toUtf16(path_), scalar.type, scalar.number, scalar.boolean, std::u16string(scalar.text)});
    }

    std::string_view takeString() {
        bool isEscaped = false;
        for (std::size_t end = at_ + 1;; ++end) {
            if (end == window_.end() && !readMore()) fail("a string has no closing quote", end);
            const char c = *window_.at(end);
            if (static_cast<unsigned char>(c) < ' ') fail("a control character in a string", end);
            if (c == '"' && !isEscaped) return takeTo(end + 1);
            isEscaped = c == '\\' && !isEscaped;
        }
    }

    std::string_view takeWord() {
        std::size_t end = at_;
        while ((end < window_.end() || readMore()) && kEndsWord.find(*window_.at(end)) == kEndsWord.npos)
            ++end;
        if (end == at_) failHere();
        return takeTo(end);
    }

    std::string_view takeTo(std::size_t end) {
        const std::size_t start = std::exchange(at_, end);
        return {window_.at(start), end - start};
    }

    void readTable(std::u16string name) {
        NestedTable table(data_, std::move(name));
        open();
        const std::size_t first = at_;
        RowSplitter splitter;
        std::size_t scanned = at_;
        std::size_t closing = RowSplitter::npos;
        for (bool isLast = false; closing == RowSplitter::npos; isLast = !readMore()) {
            std::size_t count = 0;
            const RowSplitter::Found found =
                splitter.scan(window_.at(scanned), window_.end() - scanned, isLast, count);
            if (found.close != RowSplitter::npos) {
                closing = scanned + found.close;
                break;
            }
            if (found.comma != RowSplitter::npos) {
                readRows(table, scanned + found.comma);
                ++at_;
            }
            if (isLast) failInRows();
            scanned += count;
        }
        const std::size_t start = at_;
        const bool isEmpty = start == first && next() == ']';
        at_ = start;
        if (!isEmpty && *window_.at(closing) == ']') readRows(table, closing);
        at_ = closing;
        close(']');
        table.endRows();
    }

    // The rows from here to the comma or bracket at `end`, as an array in the place of the text.
    void readRows(NestedTable& table, std::size_t end) {
        char* const text = window_.at(at_) - 1;
        const std::size_t size = end - at_ + 2;
        text[0] = '[';
        text[size - 1] = ']';
        if (rows_.read({text, size}, table) == 0) failBySyntax(window_, end);
        at_ = end;
    }

    // The array is not closed.
    [[noreturn]] void failInRows() {
        const std::size_t end = window_.end();
        const JsonOutline outline({window_.at(at_), end - at_});
        const auto line = [&](const char* at) { return window_.place(window_.offsetOf(at)).position.line; };
        if (outline.endsInString) fail("a string has no closing quote", end);
        if (outline.wrong != window_.at(end)) {
            failByBracket(window_, window_.offsetOf(outline.wrong), *outline.opened, line(outline.opened));
        }
        if (outline.opened != window_.at(end)) failByEnd(window_, end, *outline.opened, line(outline.opened));
        failByEnd(window_, end, open_.back().bracket, lineOf(open_.back()));
    }

    std::size_t findLineEnd() {
        for (std::size_t from = at_;;) {
            const auto* const found =
                static_cast<const char*>(std::memchr(window_.at(from), '\n', window_.end() - from));
            if (found != nullptr) return window_.offsetOf(found);
            from = window_.end();
            if (!readMore()) return from;
        }
    }

    // The line from here to `end`, as an array of one element.
    void readLine(NestedTable& table, std::size_t end) {
        window_.dropBefore(at_);
        char* const text = window_.at(at_) - 1;
        const std::size_t size = end - at_ + 2;
        const char after = std::exchange(text[size - 1], ']');
        text[0] = '[';
        if (rows_.read({text, size}, table) != 1) fail("a line of more than one value", at_);
        text[size - 1] = after;
        at_ = end;
    }

    [[noreturn]] void fail(const char* message, std::size_t offset) const {
        window_.fail(ErrorCode::BadData, message, offset);
    }

    // Something else is expected at the next character.
    [[noreturn]] void failHere() {
        const int found = next();
        const Bracket& open = open_.back();
        if (found == kEnd) failByEnd(window_, at_, open.bracket, lineOf(open));
        if (found == (open.bracket == '[' ? '}' : ']')) {
            failByBracket(window_, at_, open.bracket, lineOf(open));
        }
        failBySyntax(window_, at_);
    }

    Utf8Window window_;
    JsonRows rows_;
    JsonScalarReader scalars_;
    std::size_t at_ = 0;
    std::vector<Bracket> open_;
    std::string path_;
    DataSet data_;
};

}  // namespace

DataSet readJson(ByteSource& source) { return JsonReader(source).read(); }

DataSet readLines(ByteSource& source) { return JsonReader(source).readLines(); }

}  // namespace qbsvrl6

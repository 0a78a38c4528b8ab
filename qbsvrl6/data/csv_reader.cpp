#include "qbsvrl6/data/csv_reader.h"

#include <algorithm>
#include <array>
#include <utility>

#include "qbsvrl6/data/header_columns.h"
#include "qbsvrl6/data/text_decoder.h"
#include "qbsvrl6/data/widen.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/support/white_space.h"

namespace qbsvrl6 {

namespace {

struct NamedSeparator {
    std::string_view name;
    char separator;
};
// In the order in which they win where the first line has equally many.
constexpr std::array kSeparators = {
    NamedSeparator{"comma", ','}, NamedSeparator{"semicolon", ';'}, NamedSeparator{"tab", '\t'},
    NamedSeparator{"pipe", '|'},  NamedSeparator{"space", ' '},
};
constexpr std::size_t kGuessed = 4;  // of them; a space is too common in names
constexpr std::size_t kGuessedBytes = 16 * 1024;

[[noreturn]] void failOption(std::string_view option) {
    throw EngineError(ErrorCode::NotSupported,
                      "\"" + std::string(option) +
                          "\" is not an option of CSV; there are separator=; (or comma, "
                          "semicolon, tab, pipe, space), header=yes or no, and encoding=gbk");
}

char separatorFrom(std::string_view text) {
    for (const NamedSeparator& known : kSeparators) {
        if (text == known.name) return known.separator;
    }
    const bool fits = text.size() == 1 && static_cast<unsigned char>(text[0]) < 0x80 && text[0] != '"' &&
                      text[0] != '\r' && text[0] != '\n' && text[0] != '\0';
    if (!fits) failOption("separator=" + std::string(text));
    return text[0];
}

// The number of characters; the bytes are whole ones.
std::size_t charactersIn(std::string_view utf8) {
    return static_cast<std::size_t>(std::count_if(
        utf8.begin(), utf8.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

// The text is a window that moves over the data: it begins at the current field, or before it.
class CsvReader {
public:
    CsvReader(ByteSource& bytes, const CsvForm& form)
        : origin_(bytes.origin()), stream_(bytes, form.encoding), isEncodingNamed_(!form.encoding.empty()) {
        while (window_.size() < kGuessedBytes && more()) continue;
        const bool isNamed = takeSeparatorLine();
        separator_ = form.separator != '\0' ? form.separator : isNamed ? separator_ : guessedSeparator();
        for (const char c : {separator_, '\r', '\n'}) stops_[static_cast<unsigned char>(c)] = true;
        hasHeader_ = form.hasHeader;
    }

    DataSet read() {
        if (hasHeader_) readHeader();
        while (readRow()) continue;
        DataSet data;
        data.origin = origin_;
        data.add(std::move(table_));
        return data;
    }

private:
    enum class After { Field, Line, Data };  // what follows a field

    struct Field {
        std::string_view text;  // until the next field
        bool isQuoted = false;
        After after = After::Field;
    };

    // --- the window

    // Appends to the window; false at the end. What is before the current field goes.
    bool more() {
        if (atEnd_) return false;
        if (window_.size() - start_ > limits::kCsvFieldBytes) {
            fail(ErrorCode::LimitExceeded,
                 "a field is longer than " + std::to_string(limits::kCsvFieldBytes >> 20) +
                     " MiB; is its closing quote missing?",
                 start_);
        }
        if (lineStart_ < start_) {
            passed_ += charactersIn(std::string_view(window_).substr(lineStart_, start_ - lineStart_));
            lineStart_ = start_;
        }
        window_.erase(0, start_);
        lineStart_ -= start_;
        at_ -= start_;
        start_ = 0;
        if (stream_.append(window_)) return true;
        if (!stream_.problem().empty()) {
            fail(ErrorCode::BadEncoding,
                 stream_.problem() + (isEncodingNamed_ ? "" : "; name another encoding: csv:encoding=gbk"),
                 window_.size());
        }
        atEnd_ = true;
        return false;
    }
    // Whether there is a character, and one after it.
    bool hasOne() { return at_ < window_.size() || more(); }
    bool hasTwo() {
        while (at_ + 1 >= window_.size()) {
            if (!more()) return false;
        }
        return true;
    }

    // `index` is in the current field.
    [[noreturn]] void fail(ErrorCode code, const std::string& message, std::size_t index) const {
        const std::string_view text(window_);
        int line = line_;
        std::size_t lineStart = lineStart_;
        std::size_t passed = passed_;
        for (std::size_t end; (end = text.find('\n', std::max(lineStart, start_))) < index;) {
            lineStart = end + 1;
            passed = 0;
            ++line;
        }
        const std::size_t column = passed + charactersIn(text.substr(lineStart, index - lineStart)) + 1;
        throw EngineError(code, message, {origin_, {line, static_cast<int>(column)}});
    }

    void startLine(std::size_t index) {
        ++line_;
        lineStart_ = index;
        passed_ = 0;
    }

    // The next field begins where the current one has ended.
    void advance() {
        if (mayHoldLines_) {
            for (std::size_t i = start_; (i = window_.find('\n', i)) < at_;) startLine(++i);
            if (endsLine_ && lineStart_ != at_) startLine(at_);  // a carriage return alone
        }
        mayHoldLines_ = endsLine_ = false;
        start_ = at_;
    }

    // --- the separator

    // The line with which spreadsheets name the separator: "sep=;".
    bool takeSeparatorLine() {
        const std::string_view text(window_);
        if (!text.starts_with("sep=") || text.size() < 6) return false;
        const std::size_t end = text[5] == '\r' && text.size() > 6 && text[6] == '\n' ? 6 : 5;
        if (text[end] != '\n' && text[end] != '\r') return false;
        separator_ = separatorFrom(text.substr(4, 1));
        at_ = end + 1;
        mayHoldLines_ = endsLine_ = true;
        advance();
        return true;
    }

    // The one that the first line has most often outside of quotes.
    char guessedSeparator() const {
        std::array<std::size_t, kGuessed> counts{};
        bool inQuotes = false;
        for (std::size_t i = start_; i < window_.size(); ++i) {
            const char c = window_[i];
            if (c == '"') inQuotes = !inQuotes;
            if (inQuotes) continue;
            if (c == '\n' || c == '\r') break;
            for (std::size_t s = 0; s < kGuessed; ++s) {
                if (c == kSeparators[s].separator) ++counts[s];
            }
        }
        return kSeparators[static_cast<std::size_t>(std::max_element(counts.begin(), counts.end()) -
                                                    counts.begin())]
            .separator;
    }

    // --- fields

    // False at the end of the data.
    bool takeField(Field& field) {
        advance();
        if (!hasOne()) return false;
        field.isQuoted = window_[at_] == '"';
        if (field.isQuoted) {
            takeQuoted(field);
        } else {
            takePlain(field);
        }
        return true;
    }

    void takePlain(Field& field) {
        do {
            const char* const text = window_.data();
            const std::size_t size = window_.size();
            std::size_t at = at_;
            while (at < size && !stops_[static_cast<unsigned char>(text[at])]) ++at;
            at_ = at;
        } while (at_ == window_.size() && more());
        const std::size_t length = at_ - start_;
        field.after = takeStop();
        field.text = std::string_view(window_).substr(start_, length);
    }

    void takeQuoted(Field& field) {
        mayHoldLines_ = true;
        bool hasEscapes = false;
        for (++at_;;) {
            at_ = std::min(window_.find('"', at_), window_.size());
            if (at_ == window_.size()) {
                if (!more()) fail(ErrorCode::BadData, "this quote has no closing quote", start_);
            } else if (hasTwo() && window_[at_ + 1] == '"') {
                hasEscapes = true;
                at_ += 2;
            } else {
                break;
            }
        }
        const std::size_t length = at_ - start_ - 1;
        ++at_;
        if (hasOne() && !stops_[static_cast<unsigned char>(window_[at_])]) {
            fail(ErrorCode::BadData, "text after the closing quote of a field", at_);
        }
        field.after = takeStop();
        field.text = std::string_view(window_).substr(start_ + 1, length);
        if (hasEscapes) field.text = withoutEscapes(field.text);
    }

    std::string_view withoutEscapes(std::string_view text) {
        plain_.clear();
        for (std::size_t quote; (quote = text.find('"')) != std::string_view::npos;) {
            plain_ += text.substr(0, quote + 1);
            text.remove_prefix(quote + 2);
        }
        return plain_ += text;
    }

    After takeStop() {
        if (!hasOne()) return After::Data;
        const char stop = window_[at_++];
        if (stop == separator_) return After::Field;
        if (stop == '\r' && hasOne() && window_[at_] == '\n') ++at_;
        mayHoldLines_ = endsLine_ = true;
        return After::Line;
    }

    // --- rows

    void readHeader() {
        Field field;
        if (!takeFirstField(field)) fail(ErrorCode::BadData, "the data is empty", at_);
        addColumn(field.text);
        while (field.after == After::Field && takeField(field)) addColumn(field.text);
    }

    void addColumn(std::string_view name) {
        if (columns_.add(table_, toUtf8(trimmed(toUtf16(name))))) return;
        fail(ErrorCode::LimitExceeded, "more than " + std::to_string(limits::kDataColumns) + " columns",
             start_);
    }

    // The first field of the next line that is not empty.
    bool takeFirstField(Field& field) {
        do {
            if (!takeField(field)) return false;
        } while (field.text.empty() && !field.isQuoted && field.after != After::Field);
        return true;
    }

    bool readRow() {
        Field field;
        if (!takeFirstField(field)) return false;
        table_.beginRow();
        std::size_t index = 0;
        setValue(index, field);
        while (field.after == After::Field && takeField(field)) setValue(++index, field);
        return true;
    }

    void setValue(std::size_t index, const Field& field) {
        const bool isEmpty = field.text.empty() && !field.isQuoted;
        if (index >= columns_.count()) {
            if (hasHeader_ && !isEmpty) {
                fail(ErrorCode::BadData,
                     "this row has more fields than the first line, which has " +
                         std::to_string(columns_.count()),
                     start_);
            }
            if (hasHeader_) return;
            addColumn({});
        }
        if (!isEmpty) table_.setText(columns_[index], widen(field.text, wide_));
    }

    std::string origin_;
    TextDecoder stream_;
    bool isEncodingNamed_;
    std::string window_;
    std::size_t start_ = 0;  // of the current field
    std::size_t at_ = 0;
    bool atEnd_ = false;
    // Of the current field's start.
    int line_ = 1;
    std::size_t lineStart_ = 0;  // in the window
    std::size_t passed_ = 0;     // characters of the line before lineStart_
    // Of the current field, once it is taken.
    bool mayHoldLines_ = false;
    bool endsLine_ = false;
    char separator_ = ',';
    std::array<bool, 256> stops_{};
    bool hasHeader_ = true;
    Table table_{u""};
    HeaderColumns columns_;
    std::string plain_;
    std::u16string wide_;
};

}  // namespace

CsvForm csvFormFrom(std::string_view options) {
    CsvForm form;
    while (!options.empty()) {
        const std::size_t equals = options.find('=');
        if (equals == std::string_view::npos) failOption(options);
        const std::string_view name = options.substr(0, equals);
        // A comma may be the separator itself.
        const std::size_t end = std::min(options.find(',', equals + 2), options.size());
        const std::string_view value = options.substr(equals + 1, end - equals - 1);
        if (name == "separator") {
            form.separator = separatorFrom(value);
        } else if (name == "header" && (value == "yes" || value == "no")) {
            form.hasHeader = value == "yes";
        } else if (name == "encoding" && !value.empty()) {
            form.encoding = value;
        } else {
            failOption(options.substr(0, end));
        }
        options.remove_prefix(std::min(end + 1, options.size()));
    }
    return form;
}

DataSet readCsv(ByteSource& bytes, const CsvForm& form) { return CsvReader(bytes, form).read(); }

}  // namespace qbsvrl6

// Rows of CSV. What the engine makes of a field is its own work: here, rows are found, and the values that
// name a document.
#include <algorithm>
#include <array>

#include "qbreport/burst/rows.h"
#include "qbreport/failure.h"

namespace qbreport {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kNames[] = {"comma", "semicolon", "tab", "pipe", "space"};
constexpr std::string_view kSeparators = ",;\t| ";
constexpr std::size_t kGuessed = 4;  // of them; a space is too common in names
constexpr std::size_t kGuessedBytes = 16 * 1024;

struct Form {
    char separator = '\0';  // guessed
    bool hasHeader = true;
};

// The engine reports an option that does not exist.
Form formFrom(std::string_view options) {
    Form form;
    while (!options.empty()) {
        const std::size_t equals = std::min(options.find('='), options.size());
        const std::size_t end = std::min(options.find(',', equals + 2), options.size());
        const std::string_view name = options.substr(0, equals);
        const std::string_view value =
            options.substr(std::min(equals + 1, end), end - std::min(equals + 1, end));
        const auto named = std::find(std::begin(kNames), std::end(kNames), value) - std::begin(kNames);
        if (name == "separator" && static_cast<std::size_t>(named) < std::size(kNames)) {
            form.separator = kSeparators[static_cast<std::size_t>(named)];
        } else if (name == "separator" && value.size() == 1) {
            form.separator = value[0];
        } else if (name == "header" && (value == "yes" || value == "no")) {
            form.hasHeader = value == "yes";
        } else if (name == "encoding" && (value == "utf-8" || value == "UTF-8")) {
            // as without it
        } else if (name == "encoding") {
            throw Failure("CSV in " + std::string(value) + " cannot be divided; convert it first: iconv -f " +
                          std::string(value) + " -t utf-8");
        } else {
            throw WrongUse("\"" + std::string(options.substr(0, end)) +
                           "\" is no option of CSV; there are separator and header");
        }
        options.remove_prefix(std::min(end + 1, options.size()));
    }
    return form;
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kSpace = " \t";
    const std::size_t begin = text.find_first_not_of(kSpace);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(kSpace) - begin + 1);
}

class CsvRows : public Rows {
public:
    CsvRows(const Source& source, std::string_view options, const std::vector<std::string>& columns,
            Digest* digest)
        : source_(source), window_(source, digest), form_(formFrom(options)), wanted_(columns) {
        begin();
    }

    bool next(Row& row) override {
        window_.drop(rowSize_);
        rowSize_ = 0;
        line_ += rowLines_;
        if (!readRow()) return false;
        row.offset = window_.offset();
        row.line = line_;
        row.values.assign(wanted_.size(), std::string());
        for (std::size_t i = 0; i < wanted_.size(); ++i) {
            if (indexes_[i] < fields_.size()) row.values[i] = textOf(fields_[indexes_[i]]);
        }
        row.bytes = window_.text().substr(0, rowSize_);
        return true;
    }

    std::vector<std::string> columns() const override { return names_; }

    std::string kind() const override {
        return std::string("csv:separator=") + form_.separator + (form_.hasHeader ? "" : ",header=no");
    }
    std::string head() const override { return head_; }
    // Whether a line break is in quotes depends on all that is before it.
    void seekBefore(std::uint64_t) override {}

private:
    struct Field {
        std::size_t begin = 0;  // in the window
        std::size_t size = 0;
        bool isQuoted = false;
    };

    void begin() {
        while (window_.text().size() < kGuessedBytes && window_.readMore()) continue;
        const std::string_view start = window_.text();
        if (start.starts_with("\xFF\xFE") || start.starts_with("\xFE\xFF")) {
            throw Failure("CSV in UTF-16 cannot be divided; convert it first: iconv -f utf-16 -t utf-8");
        }
        if (start.starts_with(kByteOrderMark)) window_.drop(kByteOrderMark.size());
        takeSeparatorLine();
        if (form_.separator == '\0') form_.separator = guessedSeparator();
        if (!form_.hasHeader) return indexByPosition();
        if (!readRow()) throw Failure("\"" + source_.name() + "\" is empty");
        for (const Field& field : fields_) addName(trimmed(textOf(field)));
        head_ = withLineEnd(window_.text().substr(0, rowSize_));
        for (const std::string& name : wanted_) {
            const auto found = std::find(names_.begin(), names_.end(), name);
            indexes_.push_back(static_cast<std::size_t>(found - names_.begin()));
        }
    }

    // The line with which spreadsheets name the separator: "sep=;".
    void takeSeparatorLine() {
        const std::string_view text = window_.text();
        if (!text.starts_with("sep=") || text.size() < 6) return;
        const std::size_t end = text[5] == '\r' && text.size() > 6 && text[6] == '\n' ? 6 : 5;
        if (text[end] != '\n' && text[end] != '\r') return;
        if (form_.separator == '\0') form_.separator = text[4];
        window_.drop(end + 1);
        ++line_;
    }

    // The one that the first line has most often outside of quotes.
    char guessedSeparator() const {
        std::array<std::size_t, kGuessed> counts{};
        bool isInQuotes = false;
        for (const char c : window_.text()) {
            if (c == '"') isInQuotes = !isInQuotes;
            if (isInQuotes) continue;
            if (c == '\n' || c == '\r') break;
            const std::size_t known = kSeparators.find(c);
            if (known < kGuessed) ++counts.at(known);
        }
        return kSeparators[static_cast<std::size_t>(std::max_element(counts.begin(), counts.end()) -
                                                    counts.begin())];
    }

    void addName(std::string_view text) {
        const std::string base =
            text.empty() ? "Column" + std::to_string(names_.size() + 1) : std::string(text);
        std::string name = base;
        for (int i = 2; std::find(names_.begin(), names_.end(), name) != names_.end(); ++i) {
            name = base + "_" + std::to_string(i);
        }
        names_.push_back(name);
    }

    // Without a header, the columns are Column1, Column2, ...
    void indexByPosition() {
        for (const std::string& name : wanted_) {
            std::size_t index = 0;
            if (name.starts_with("Column") && name.size() < 12) {
                for (const char c : name.substr(6)) {
                    index = c >= '0' && c <= '9' ? 10 * index + static_cast<std::size_t>(c - '0') : 0;
                }
            }
            indexes_.push_back(index - 1);  // without a number, no field has this index
            if (index > 0) names_.push_back(name);
        }
    }

    static std::string withLineEnd(std::string_view bytes) {
        const bool hasEnd = bytes.ends_with('\n') || bytes.ends_with('\r');
        return std::string(bytes) + (hasEnd ? "" : "\n");
    }

    // The character at the index, or -1 at the end of the source.
    int at(std::size_t index) {
        while (index >= window_.text().size()) {
            if (!window_.readMore()) return -1;
        }
        return static_cast<unsigned char>(window_.text()[index]);
    }

    // The fields of the next row that is not empty, and its size and lines.
    bool readRow() {
        for (;;) {
            rowLines_ = 0;
            rowSize_ = 0;
            fields_.clear();
            if (at(0) < 0) return false;
            do {
                takeField();
            } while (!endsRow_);
            if (fields_.size() > 1 || fields_[0].size > 0 || fields_[0].isQuoted) return true;
            window_.drop(rowSize_);
            line_ += rowLines_;
        }
    }

    void takeField() {
        Field field;
        field.begin = rowSize_;
        std::size_t end = rowSize_;
        if (at(end) == '"') {
            field.isQuoted = true;
            ++field.begin;
            for (++end;; ++end) {
                const int c = at(end);
                if (c < 0) {
                    throw Failure(placeOf(source_, window_.offset(), line_) +
                                  ": a quote of this row has no closing quote");
                }
                if (c == '\n') ++rowLines_;
                if (c == '"' && at(end + 1) != '"') break;
                if (c == '"') ++end;
            }
            field.size = end - field.begin;
            ++end;
        }
        for (int c; (c = at(end)) >= 0 && c != static_cast<unsigned char>(form_.separator) && c != '\n' &&
                    c != '\r';) {
            ++end;
        }
        if (!field.isQuoted) field.size = end - field.begin;
        const int stop = at(end);
        endsRow_ = stop != static_cast<unsigned char>(form_.separator) || stop < 0;
        if (endsRow_) ++rowLines_;
        if (stop == '\r' && at(end + 1) == '\n') ++end;
        rowSize_ = stop < 0 ? end : end + 1;
        fields_.push_back(field);
    }

    std::string textOf(const Field& field) const {
        std::string_view rest = window_.text().substr(field.begin, field.size);
        if (!field.isQuoted) return std::string(rest);
        std::string text;
        for (std::size_t quote; (quote = rest.find("\"\"")) != std::string_view::npos;) {
            text += rest.substr(0, quote + 1);
            rest.remove_prefix(quote + 2);
        }
        return text += rest;
    }

    const Source& source_;
    Window window_;
    Form form_;
    std::vector<std::string> wanted_;
    std::vector<std::size_t> indexes_;  // of the wanted columns
    std::vector<std::string> names_;
    std::string head_;
    std::vector<Field> fields_;  // of the current row
    std::size_t rowSize_ = 0;
    std::uint64_t rowLines_ = 0;
    std::uint64_t line_ = 1;
    bool endsRow_ = false;
};

}  // namespace

std::unique_ptr<Rows> openCsv(const Source& source, std::string_view options,
                              const std::vector<std::string>& columns, Digest* digest) {
    return std::make_unique<CsvRows>(source, options, columns, digest);
}

}  // namespace qbreport

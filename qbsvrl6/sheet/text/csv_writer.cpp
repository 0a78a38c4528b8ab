// CSV according to RFC 4180: lines end with CR LF, and every record has all columns. The text is UTF-8 with a
// byte order mark, because spreadsheets read a file without one in the code page of the machine. A cell that
// spans columns fills the first. A text that a spreadsheet would read as a formula is written unchanged
// unless the export defuses formulas, because an apostrophe before it would falsify it for all other readers.
#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>

#include "qbsvrl6/items/pending_items.h"
#include "qbsvrl6/sheet/escape.h"
#include "qbsvrl6/sheet/grid/cell_sink.h"
#include "qbsvrl6/sheet/text_stream.h"
#include "qbsvrl6/support/ascii.h"

namespace qbsvrl6 {

namespace {

bool needsQuotes(std::u16string_view text) {
    return std::any_of(text.begin(), text.end(),
                       [](char16_t c) { return c == u'"' || c == u',' || c == u'\r' || c == u'\n'; });
}

// A sign, followed only by digits with their separators, a currency or a percent sign: "-1,234.50", "+5%".
bool isSignedNumber(std::u16string_view text) {
    constexpr std::u16string_view kWithDigits = u".,' \u00A0\u202F%\u2030$\u00A3\u00A5\uFFE5\u20AC";
    return std::all_of(text.begin() + 1, text.end(), [&](char16_t c) {
        return isDigit(c) || kWithDigits.find(c) != std::u16string_view::npos;
    });
}

// Whether a spreadsheet may evaluate the text. East Asian ones also accept full-width signs.
bool looksLikeFormula(std::u16string_view text) {
    if (text.empty()) return false;
    switch (text.front()) {
        case u'-':
        case u'+':
            return !isSignedNumber(text);
        case u'=':
        case u'@':
        case u'\t':
        case u'\r':
        case u'\n':
        case u'＝':
        case u'＋':
        case u'－':
        case u'＠':
            return true;
        default:
            return false;
    }
}

void appendField(std::string& out, std::u16string_view text) {
    if (!needsQuotes(text)) {
        appendUtf8(out, text);
        return;
    }
    out += '"';
    for (std::size_t quote = text.find(u'"'); quote != std::u16string_view::npos; quote = text.find(u'"')) {
        appendUtf8(out, text.substr(0, quote + 1));
        out += '"';
        text.remove_prefix(quote + 1);
    }
    appendUtf8(out, text);
    out += '"';
}

// All digits of a decimal; otherwise the shortest text that reads back as the same number, with an exponent
// only if it is very small or very large.
void appendNumber(std::string& out, const Number& value) {
    if (const Decimal* const decimal = value.decimal()) {
        char digits[Decimal::kLongestText];
        out.append(digits, decimal->write(digits));
        return;
    }
    const double number = value.toDouble();
    constexpr double kSmallest = 1e-7;
    constexpr double kLargest = 1e21;
    const double magnitude = std::fabs(number);
    const bool isFixed = magnitude == 0 || (magnitude >= kSmallest && magnitude < kLargest);
    std::array<char, 40> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number,
                                   isFixed ? std::chars_format::fixed : std::chars_format::scientific);
    out.append(digits.data(), end.ptr);
}

// Appends "2024-03-05" or "2024-03-05T14:07:09". Returns false for years that do not have four digits.
bool appendDate(std::string& out, std::int64_t seconds) {
    using namespace std::chrono;
    constexpr std::int64_t kFirst = -62'167'219'200;  // 0000-01-01
    constexpr std::int64_t kEnd = 253'402'300'800;    // 10000-01-01
    if (seconds < kFirst || seconds >= kEnd) return false;
    const sys_seconds moment{std::chrono::seconds(seconds)};
    const auto day = floor<days>(moment);
    const year_month_day date(day);
    const hh_mm_ss time(moment - day);
    std::array<char, 32> text;
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02u", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
    out += text.data();
    if (moment == day) return true;
    std::snprintf(text.data(), text.size(), "T%02d:%02d:%02d", static_cast<int>(time.hours().count()),
                  static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()));
    out += text.data();
    return true;
}

// Returns false if the item has no value other than its text, or shows nothing.
bool appendRawValue(std::string& out, const Item& item) {
    const auto* const text = std::get_if<TextItem>(&item.content);
    if (text == nullptr || text->text.empty()) return false;
    switch (text->value.type) {
        case ValueType::Number:
            if (!text->value.number.isFinite()) return false;
            appendNumber(out, text->value.number);
            return true;
        case ValueType::Date:
            return appendDate(out, text->value.date);
        case ValueType::Boolean:
            out += text->value.boolean ? "true" : "false";
            return true;
        default:
            return false;
    }
}

class CsvWriter final : public CellSink {
public:
    CsvWriter(const SheetOptions& options, Spool& output)
        : CellSink(options, GridFit::Lines),
          rawValues_(options.rawValues),
          defuseFormulas_(options.defuseFormulas),
          output_(output),
          stream_(&output) {
        stream_.text() = "\xEF\xBB\xBF";
    }

private:
    // Only rows with texts are records; a detail row is one even without texts. Titles that are repeated on a
    // later page are left out.
    void writeRows(const Band& band, std::span<const CellRow> rows) override {
        if (band.repeated || band.kind == BandKind::BlankRow) return;
        bool isRecord = false;
        for (const CellRow& row : rows) {
            if (std::none_of(row.cells.begin(), row.cells.end(), hasText)) continue;
            writeRecord(row);
            isRecord = true;
        }
        if (!isRecord && band.kind == BandKind::Row && band.inGrid) writeRecord(rows.front());
        stream_.writeIfLarge();
    }

    static bool hasText(const Cell& cell) {
        return cell.item != nullptr && (!textOf(*cell.item).empty() || isPending(*cell.item));
    }

    void writeRecord(const CellRow& row) {
        int column = 0;
        for (const Cell& cell : row.cells) {
            stream_.text().append(static_cast<std::size_t>(cell.column - column), ',');
            column = cell.column;
            if (cell.item == nullptr) continue;
            if (isPending(*cell.item)) {
                stream_.mark();
                pending_.add(std::move(*cell.item));
            } else if (!rawValues_ || !appendRawValue(stream_.text(), *cell.item)) {
                appendText(stream_.text(), textOf(*cell.item));
            }
        }
        stream_.text().append(static_cast<std::size_t>(grid().columnCount() - 1 - column), ',');
        stream_.text() += "\r\n";
    }

    void close(PendingTexts& pending) override {
        stream_.moveTo(output_, [&](std::size_t place, std::string& out) {
            Item item = pending_.item(place);
            pending.settle(item);
            appendText(out, std::get<TextItem>(item.content).text);
        });
    }

    // An apostrophe makes spreadsheets show the rest of the text unchanged.
    void appendText(std::string& out, std::u16string_view text) const {
        if (defuseFormulas_ && looksLikeFormula(text)) {
            appendField(out, std::u16string(u"'").append(text));
        } else {
            appendField(out, text);
        }
    }

    bool rawValues_;
    bool defuseFormulas_;
    Spool& output_;
    TextStream stream_;
    PendingItems pending_;
};

}  // namespace

std::unique_ptr<PageSink> makeCsvWriter(const SheetOptions& options, Spool& output) {
    return std::make_unique<CsvWriter>(options, output);
}

}  // namespace qbsvrl6

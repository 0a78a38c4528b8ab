// CSV according to RFC 4180, unless the export has other separators: lines end with CR LF, and every record
// has all columns. The text is UTF-8 with a
// byte order mark, because spreadsheets read a file without one in the code page of the machine. A cell that
// spans columns fills the first. A text that a spreadsheet would read as a formula is written unchanged
// unless the export defuses formulas, because an apostrophe before it would falsify it for all other readers.
#include <algorithm>

#include "qbsvrl6/items/pending_items.h"
#include "qbsvrl6/sheet/escape.h"
#include "qbsvrl6/sheet/grid/cell_sink.h"
#include "qbsvrl6/sheet/raw_value.h"
#include "qbsvrl6/sheet/text_stream.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/character_forms.h"

namespace qbsvrl6 {

namespace {

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

constexpr CharacterForms kWithoutQuote = CharacterForms().set('"', {});

// Appends up to `room` bytes: those that `put` writes from the place that it receives to the one it returns.
template <class Put>
void appendBytes(std::string& out, std::size_t room, Put put) {
    const std::size_t start = out.size();
    out.resize(start + room);
    out.resize(static_cast<std::size_t>(put(out.data() + start) - out.data()));
}

class CsvWriter final : public CellSink {
public:
    CsvWriter(const SheetOptions& options, Spool& output)
        : CellSink(options, GridFit::Lines),
          rawValues_(options.texts.values ? options.texts.values == CsvValues::Raw : options.rawValues),
          separator_(options.texts.separator.value_or(',')),
          quotesAll_(options.texts.quotes == CsvQuotes::All),
          lineEnd_(options.texts.lineEnds == LineEnds::Lf ? "\n" : "\r\n"),
          defuseFormulas_(options.defuseFormulas),
          output_(output),
          stream_(&output) {
        for (const char c : {'"', '\r', '\n', separator_}) plain_.set(c, {});
        if (options.texts.encoding.empty()) stream_.text() = "\xEF\xBB\xBF";
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
        if (writeAtOnce(row)) return;
        int column = 0;
        const auto separateUntil = [&](int next) {
            for (; column < next; ++column) stream_.text() += separator_;
        };
        for (const Cell& cell : row.cells) {
            separateUntil(cell.column);
            if (cell.item == nullptr) continue;
            if (isPending(*cell.item)) {
                stream_.mark();
                pending_.add(std::move(*cell.item));
            } else if (!rawValues_ || !appendRawValue(stream_.text(), *cell.item)) {
                appendText(stream_.text(), textOf(*cell.item));
            }
        }
        separateUntil(grid().columnCount() - 1);
        stream_.text() += lineEnd_;
    }

    // Writes the record if all its fields are known texts.
    bool writeAtOnce(const CellRow& row) {
        if (rawValues_ || defuseFormulas_) return false;
        std::size_t room = static_cast<std::size_t>(grid().columnCount()) + lineEnd_.size();
        for (const Cell& cell : row.cells) {
            if (cell.item == nullptr) continue;
            if (isPending(*cell.item)) return false;
            room += roomForField(textOf(*cell.item));
        }
        appendBytes(stream_.text(), room, [&](char* to) {
            int column = 0;
            for (const Cell& cell : row.cells) {
                for (; column < cell.column; ++column) *to++ = separator_;
                if (cell.item != nullptr) to = putField(to, textOf(*cell.item));
            }
            for (; column < grid().columnCount() - 1; ++column) *to++ = separator_;
            return std::copy(lineEnd_.begin(), lineEnd_.end(), to);
        });
        return true;
    }

    void close(PendingTexts& pending) override {
        stream_.moveTo(output_, [&](std::size_t place, std::string& out) {
            Item item = pending_.item(place);
            settleCell(item, pending);
            appendText(out, std::get<TextItem>(item.content).text);
        });
    }

    // An apostrophe makes spreadsheets show the rest of the text unchanged.
    void appendText(std::string& out, std::u16string_view text) const {
        const std::u16string defused =
            defuseFormulas_ && looksLikeFormula(text) ? std::u16string(u"'").append(text) : std::u16string();
        if (!defused.empty()) text = defused;
        appendBytes(out, roomForField(text), [&](char* to) { return putField(to, text); });
    }

    static std::size_t roomForField(std::u16string_view text) { return kMostBytes * text.size() + 2; }

    char* putField(char* to, std::u16string_view text) const {
        if (text.empty()) return to;
        char* const start = to;
        if (!quotesAll_) {
            to = putPlain(to, text, plain_);
            if (text.empty()) return to;
        }
        std::copy_backward(start, to, to + 1);
        ++to;
        *start = '"';
        for (;;) {
            to = putPlain(to, text, kWithoutQuote);
            *to++ = '"';
            if (text.empty()) return to;
            *to++ = '"';
            text.remove_prefix(1);
        }
    }

    bool rawValues_;
    char separator_;
    CharacterForms plain_;  // without the characters that need quotes around the text
    bool quotesAll_;
    std::string_view lineEnd_;
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

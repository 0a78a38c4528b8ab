// CSV by RFC 4180: CR LF ends, every record with all columns, in UTF-8 with a mark, since spreadsheets take a
// file without one for the machine's own code page. A cell that spans columns fills the first. A text that
// looks like a formula is written as it is: a sign put ahead of it would falsify numbers and identifiers for
// all readers, for the sake of one that runs what it should only show.
#include <algorithm>

#include "qbsvrl6/sheet/escape.h"
#include "qbsvrl6/sheet/grid/cell_sink.h"
#include "qbsvrl6/sheet/text_stream.h"

namespace qbsvrl6 {

namespace {

bool needsQuotes(std::u16string_view text) {
    return std::any_of(text.begin(), text.end(),
                       [](char16_t c) { return c == u'"' || c == u',' || c == u'\r' || c == u'\n'; });
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

class CsvWriter final : public CellSink {
public:
    CsvWriter(const SheetOptions& options, std::string& output)
        : CellSink(options, GridFit::Lines), output_(output) {
        stream_.text() = "\xEF\xBB\xBF";
    }

private:
    // Only what has a text is a record; a title that comes again on a later page is none.
    void writeRows(const Band& band, std::span<const CellRow> rows) override {
        if (band.repeated || band.kind == BandKind::BlankRow) return;
        for (const CellRow& row : rows) {
            bool hasText = false;
            for (const Cell& cell : row.cells) {
                hasText = hasText ||
                          (cell.item != nullptr && (!textOf(*cell.item).empty() || isPending(*cell.item)));
            }
            if (hasText) writeRecord(row);
        }
        stream_.breathe();
    }

    void writeRecord(const CellRow& row) {
        int column = 0;
        for (const Cell& cell : row.cells) {
            stream_.text().append(static_cast<std::size_t>(cell.column - column), ',');
            column = cell.column;
            if (cell.item == nullptr) continue;
            if (isPending(*cell.item)) {
                stream_.mark();
                late_.push_back(std::move(*cell.item));
            } else {
                appendField(stream_.text(), textOf(*cell.item));
            }
        }
        stream_.text().append(static_cast<std::size_t>(grid().columnCount() - 1 - column), ',');
        stream_.text() += "\r\n";
    }

    void close(PendingTexts& pending) override {
        stream_.moveTo(output_, [&](std::size_t place, std::string& out) {
            pending.settle(late_[place]);
            appendField(out, std::get<TextItem>(late_[place].content).text);
        });
    }

    std::string& output_;
    TextStream stream_;
    std::vector<Item> late_;
};

}  // namespace

std::unique_ptr<PageSink> makeCsvWriter(const SheetOptions& options, std::string& output) {
    return std::make_unique<CsvWriter>(options, output);
}

}  // namespace qbsvrl6

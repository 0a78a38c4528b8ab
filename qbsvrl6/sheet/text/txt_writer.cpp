// Plain text in UTF-8: the grid's columns in characters, cells wrapped into them, a form feed between pages.
#include <algorithm>
#include <utility>

#include "qbsvrl6/items/unbroken_spans.h"
#include "qbsvrl6/sheet/escape.h"
#include "qbsvrl6/sheet/grid/cell_sink.h"
#include "qbsvrl6/sheet/text/text_width.h"
#include "qbsvrl6/sheet/text_stream.h"

namespace qbsvrl6 {

namespace {

// A character is as wide as a digit in a font of 8.5 points, so that a text that fits its cell on paper fits
// here as well.
constexpr Micrometres kCharacterWidth = 1500;
// A gap of at least this height becomes an empty line.
constexpr Micrometres kBlankLineGap = 4000;

// A cell with everything that is needed to write it, immediately or at the end.
struct TextCell {
    int offset = 0;
    int width = 0;
    std::size_t row = 0;
    std::size_t rowEnd = 0;
    Item* item = nullptr;  // of the band, or of `late`
    std::size_t firstLine = 0;
    std::size_t lineCount = 0;
};

struct TextRow {
    bool isUsed = false;    // has a line even without text
    bool gapAbove = false;  // an empty line
};

// The rows of one band, which are rendered immediately or at the end of the report.
struct TextBlock {
    std::vector<TextCell> cells;  // by row, then offset
    std::vector<TextRow> rows;
    std::vector<Item> late;  // the items of all cells, if one of them is pending

    TextBlock() = default;
    TextBlock(TextBlock&&) = default;  // the items keep their addresses, which the cells store
    TextBlock& operator=(TextBlock&&) = default;

    void clear() {
        cells.clear();
        rows.clear();
        late.clear();
    }
};

class BlockRenderer {
public:
    explicit BlockRenderer(std::string_view lineEnd) : lineEnd_(lineEnd) {}

    void render(TextBlock& block, std::string& out) {
        lines_.clear();
        for (TextCell& cell : block.cells) {
            cell.firstLine = lines_.size();
            const std::u16string_view text = textOf(*cell.item);
            if (!text.empty()) wrapText(text, lineWidth(cell, text), lines_);
            cell.lineCount = lines_.size() - cell.firstLine;
        }
        const std::size_t lineCount = setRowStarts(block);
        showing_.clear();
        std::size_t next = 0;
        for (std::size_t line = 0; line < lineCount; ++line) {
            for (; next < block.cells.size() && rowStarts_[block.cells[next].row] == line; ++next) {
                showing_.push_back(&block.cells[next]);
            }
            renderLine(line, out);
        }
    }

private:
    // A row is as high as its highest cell; if a cell spans several rows, the last of them holds the rest of
    // it. Returns the number of lines.
    std::size_t setRowStarts(const TextBlock& block) {
        rowStarts_.clear();
        rowEnds_.assign(block.rows.size(), 0);
        std::size_t end = 0;
        std::size_t next = 0;
        for (std::size_t row = 0; row < block.rows.size(); ++row) {
            const std::size_t start = end + (block.rows[row].gapAbove ? 1 : 0);
            rowStarts_.push_back(start);
            for (; next < block.cells.size() && block.cells[next].row == row; ++next) {
                const TextCell& cell = block.cells[next];
                std::size_t& cellEnd = rowEnds_[cell.rowEnd - 1];
                cellEnd = std::max(cellEnd, start + cell.lineCount);
            }
            end = std::max(start + (block.rows[row].isUsed ? 1 : 0), rowEnds_[row]);
        }
        return end;
    }

    void renderLine(std::size_t line, std::string& out) {
        std::erase_if(showing_,
                      [&](const TextCell* cell) { return line >= rowStarts_[cell->row] + cell->lineCount; });
        // Cells of several rows may share a line; those of a single row are already in order.
        const auto isLeft = [](const TextCell* a, const TextCell* b) { return a->offset < b->offset; };
        if (!std::is_sorted(showing_.begin(), showing_.end(), isLeft)) {
            std::sort(showing_.begin(), showing_.end(), isLeft);
        }
        const std::size_t start = out.size();
        int column = 0;
        for (const TextCell* cell : showing_) {
            const std::u16string_view text = lines_[cell->firstLine + line - rowStarts_[cell->row]];
            if (text.empty()) continue;
            const int width = displayWidth(text);
            // A text that is wider than its cell moves the texts after it.
            const int least = column > 0 ? column + 1 : 0;
            const int target = std::max(cell->offset + lead(*cell->item, cell->width - width), least);
            out.append(static_cast<std::size_t>(target - column), ' ');
            appendPrintable(out, text);
            column = target + width;
        }
        while (out.size() > start && out.back() == ' ') out.pop_back();
        out += lineEnd_;
    }

    // Values and the content of barcodes are useless in parts, so their words are never broken.
    static int lineWidth(const TextCell& cell, std::u16string_view text) {
        const auto* const item = std::get_if<TextItem>(&cell.item->content);
        const bool isWhole =
            item != nullptr ? isOneValue(*item) : std::holds_alternative<DrawingItem>(cell.item->content);
        return isWhole ? std::max(cell.width, widestWord(text)) : cell.width;
    }

    // Negative if a right-aligned text is wider than its cell.
    static int lead(const Item& item, int room) {
        const HorizontalAlign align = item.style == nullptr ? HorizontalAlign::Left : item.style->align;
        if (align == HorizontalAlign::Right) return room;
        return align == HorizontalAlign::Center ? std::max(room, 0) / 2 : 0;
    }

    std::string_view lineEnd_;
    std::vector<std::u16string_view> lines_;
    std::vector<std::size_t> rowStarts_;
    std::vector<std::size_t> rowEnds_;
    std::vector<const TextCell*> showing_;  // cells of the current line
};

class TxtWriter final : public CellSink {
public:
    TxtWriter(const SheetOptions& options, Spool& output)
        : CellSink(options, GridFit::Lines),
          output_(output),
          formFeeds_(options.paged && options.pageBreaks),
          stream_(&output),
          renderer_(options.texts.lineEnds == LineEnds::CrLf ? "\r\n" : "\n") {
        Micrometres edge = 0;
        offsets_.push_back(0);
        for (int column = 0; column < grid().columnCount(); ++column) {
            const auto index = static_cast<std::size_t>(column);
            if (index < options.texts.widths.size()) {
                offsets_.push_back(offsets_.back() + options.texts.widths[index]);
                edge = offsets_.back() * kCharacterWidth;
                continue;
            }
            edge += grid().columnWidth(column);
            offsets_.push_back(std::max(edge / kCharacterWidth, offsets_.back() + 2));
        }
    }

private:
    void openPage(const PageInfo&, bool isFirst) override {
        if (!isFirst && formFeeds_) stream_.text() += '\f';
        pageIsEmpty_ = true;
    }

    void writeRows(const Band& band, std::span<const CellRow> rows) override {
        if (band.kind == BandKind::BlankRow) return;
        block_.clear();
        // A record of several lines is separated from the next one.
        const bool isTall = band.kind == BandKind::Row && rows.size() > 1;
        for (std::size_t row = 0; row < rows.size(); ++row) {
            const bool needsGap = rows[row].gap >= kBlankLineGap || (row == 0 && isTall && followsTall_);
            const bool isFirst = row == 0 && pageIsEmpty_;
            block_.rows.push_back({band.inGrid, needsGap && !isFirst});
            for (const Cell& cell : rows[row].cells) addCell(cell, row);
        }
        followsTall_ = isTall;
        pageIsEmpty_ = false;
        const auto isLate = [](const TextCell& cell) { return isPending(*cell.item); };
        if (std::any_of(block_.cells.begin(), block_.cells.end(), isLate)) {
            keepForLater();
        } else {
            renderer_.render(block_, stream_.text());
        }
        stream_.writeIfLarge();
    }

    void keepForLater() {
        block_.late.reserve(block_.cells.size());
        for (TextCell& cell : block_.cells) {
            block_.late.push_back(std::move(*cell.item));
            cell.item = &block_.late.back();
        }
        stream_.mark();
        pendingBlocks_.push_back(std::exchange(block_, TextBlock()));
    }

    void addCell(const Cell& cell, std::size_t row) {
        if (cell.item == nullptr) return;
        TextCell& added = block_.cells.emplace_back();
        const auto column = static_cast<std::size_t>(cell.column);
        const int start = offsets_[column];
        const int end = offsets_[column + static_cast<std::size_t>(cell.columnSpan)];
        added.offset = start + indentOf(*cell.item, end - start);
        // The last character is the gap to the next cell.
        added.width = end - added.offset - 1;
        added.row = row;
        added.rowEnd = row + static_cast<std::size_t>(cell.rowSpan);
        added.item = cell.item;
    }

    // A padding of two or more characters becomes an indent.
    static int indentOf(const Item& item, int width) {
        if (item.style == nullptr || item.style->align != HorizontalAlign::Left) return 0;
        const int indent = item.style->padding.left / kCharacterWidth;
        return indent < 2 || indent > width / 2 ? 0 : indent;
    }

    void close(PendingTexts& pending) override {
        stream_.moveTo(output_, [&](std::size_t place, std::string& out) {
            TextBlock& block = pendingBlocks_[place];
            for (Item& item : block.late) settleCell(item, pending);
            renderer_.render(block, out);
            block = TextBlock();
        });
    }

    Spool& output_;
    bool formFeeds_;
    bool pageIsEmpty_ = true;
    bool followsTall_ = false;  // the previous band was a record of several lines
    std::vector<int> offsets_;  // of each column edge, in characters
    TextStream stream_;
    TextBlock block_;
    BlockRenderer renderer_;
    std::vector<TextBlock> pendingBlocks_;
};

}  // namespace

std::unique_ptr<PageSink> makeTxtWriter(const SheetOptions& options, Spool& output) {
    return std::make_unique<TxtWriter>(options, output);
}

}  // namespace qbsvrl6

// Plain text in UTF-8: the grid's columns in characters, cells wrapped into them, a form feed between pages.
#include <algorithm>
#include <utility>

#include "qbsvrl6/sheet/cell_sink.h"
#include "qbsvrl6/sheet/escape.h"
#include "qbsvrl6/sheet/text_stream.h"
#include "qbsvrl6/sheet/text_width.h"

namespace qbsvrl6 {

namespace {

// A character is as wide as a digit of a font of 8.5 points, so that what fits its cell on paper fits here.
constexpr Micrometres kCharacterWidth = 1500;
// A gap from this height on is a blank line.
constexpr Micrometres kBlankLineGap = 4000;

// A cell with all that is needed to write it, at once or late.
struct TextCell {
    int offset = 0;
    int width = 0;
    int row = 0;
    int rowEnd = 0;
    Item* item = nullptr;  // of the band, or of `late`
    std::size_t firstLine = 0;
    std::size_t lineCount = 0;
};

// The rows of one band. Rendering it is the same now or at the end of the report.
struct TextBlock {
    std::vector<TextCell> cells;  // by row, then offset
    std::vector<bool> rows;       // whether the row stands even without text
    std::vector<Item> late;       // the items, where one of them is settled late

    TextBlock() = default;
    TextBlock(TextBlock&&) = default;  // the items stay where they are: cells point at them
    TextBlock& operator=(TextBlock&&) = default;

    void clear() {
        cells.clear();
        rows.clear();
        late.clear();
    }
};

class BlockRenderer {
public:
    void render(TextBlock& block, std::string& out) {
        lines_.clear();
        for (TextCell& cell : block.cells) {
            cell.firstLine = lines_.size();
            const std::u16string_view text = textOf(*cell.item);
            if (!text.empty()) wrapText(text, cell.width, lines_);
            cell.lineCount = lines_.size() - cell.firstLine;
        }
        setRowStarts(block);
        const std::size_t lineCount = rowStarts_.back();
        for (std::size_t line = 0; line < lineCount; ++line) renderLine(block, line, out);
    }

private:
    // A row is as high as its highest cell; the last row of a cell that spans several takes what is left of
    // it.
    void setRowStarts(const TextBlock& block) {
        rowStarts_.assign(1, 0);
        for (std::size_t row = 0; row < block.rows.size(); ++row) {
            std::size_t end = rowStarts_[row] + (block.rows[row] ? 1 : 0);
            for (const TextCell& cell : block.cells) {
                if (static_cast<std::size_t>(cell.rowEnd) != row + 1) continue;
                end = std::max(end, rowStarts_[static_cast<std::size_t>(cell.row)] + cell.lineCount);
            }
            rowStarts_.push_back(end);
        }
    }

    void renderLine(const TextBlock& block, std::size_t line, std::string& out) {
        pieces_.clear();
        for (const TextCell& cell : block.cells) {
            const std::size_t start = rowStarts_[static_cast<std::size_t>(cell.row)];
            if (line >= start && line < start + cell.lineCount) pieces_.push_back(&cell);
        }
        // Cells of several rows meet here; each row's own are in order already.
        std::stable_sort(pieces_.begin(), pieces_.end(),
                         [](const TextCell* a, const TextCell* b) { return a->offset < b->offset; });
        const std::size_t start = out.size();
        int column = 0;
        for (const TextCell* cell : pieces_) {
            const std::size_t ofCell = line - rowStarts_[static_cast<std::size_t>(cell->row)];
            const std::u16string_view text = lines_[cell->firstLine + ofCell];
            if (text.empty()) continue;
            const int width = displayWidth(text);
            const int target = cell->offset + lead(*cell->item, std::max(cell->width - width, 0));
            out.append(static_cast<std::size_t>(std::max(target - column, 0)), ' ');
            appendPlain(out, text);
            column = std::max(column, target) + width;
        }
        while (out.size() > start && out.back() == ' ') out.pop_back();
        out += '\n';
    }

    static int lead(const Item& item, int room) {
        const HorizontalAlign align = item.style == nullptr ? HorizontalAlign::Left : item.style->align;
        return align == HorizontalAlign::Right ? room : align == HorizontalAlign::Center ? room / 2 : 0;
    }

    // Control characters would move the cursor.
    static void appendPlain(std::string& out, std::u16string_view text) {
        const std::size_t start = out.size();
        appendUtf8(out, text);
        for (std::size_t i = start; i < out.size(); ++i) {
            if (static_cast<unsigned char>(out[i]) < 0x20 || out[i] == 0x7F) out[i] = ' ';
        }
    }

    std::vector<std::u16string_view> lines_;
    std::vector<std::size_t> rowStarts_;
    std::vector<const TextCell*> pieces_;
};

class TxtWriter final : public CellSink {
public:
    TxtWriter(const SheetOptions& options, std::string& output)
        : CellSink(options, GridFit::Lines),
          output_(output),
          formFeeds_(options.paged && options.pageBreaks) {
        Micrometres edge = 0;
        offsets_.push_back(0);
        for (int column = 0; column < grid().columnCount(); ++column) {
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
        for (std::size_t row = 0; row < rows.size(); ++row) {
            block_.rows.push_back(band.inGrid);
            for (const Cell& cell : rows[row].cells) addCell(cell, static_cast<int>(row));
        }
        if (rows.front().gap >= kBlankLineGap && !pageIsEmpty_) stream_.text() += '\n';
        pageIsEmpty_ = false;
        const auto isLate = [](const TextCell& cell) { return isPending(*cell.item); };
        if (std::any_of(block_.cells.begin(), block_.cells.end(), isLate)) {
            keepForLater();
        } else {
            renderer_.render(block_, stream_.text());
        }
        stream_.breathe();
    }

    void keepForLater() {
        block_.late.reserve(block_.cells.size());
        for (TextCell& cell : block_.cells) {
            block_.late.push_back(std::move(*cell.item));
            cell.item = &block_.late.back();
        }
        stream_.mark();
        lateBlocks_.push_back(std::exchange(block_, TextBlock()));
    }

    void addCell(const Cell& cell, int row) {
        if (cell.item == nullptr) return;
        TextCell& added = block_.cells.emplace_back();
        const int last = cell.column + cell.columnSpan;
        added.offset = offsets_[static_cast<std::size_t>(cell.column)];
        // The last character is the gap to the next cell.
        added.width = offsets_[static_cast<std::size_t>(last)] - added.offset - 1;
        added.row = row;
        added.rowEnd = row + cell.rowSpan;
        added.item = cell.item;
    }

    void close(PendingTexts& pending) override {
        stream_.moveTo(output_, [&](std::size_t place, std::string& out) {
            TextBlock& block = lateBlocks_[place];
            for (Item& item : block.late) {
                if (isPending(item)) pending.settle(item);
            }
            renderer_.render(block, out);
            block = TextBlock();
        });
    }

    std::string& output_;
    bool formFeeds_;
    bool pageIsEmpty_ = true;
    std::vector<int> offsets_;  // of each column edge, in characters
    TextStream stream_;
    TextBlock block_;
    BlockRenderer renderer_;
    std::vector<TextBlock> lateBlocks_;
};

}  // namespace

std::unique_ptr<PageSink> makeTxtWriter(const SheetOptions& options, std::string& output) {
    return std::make_unique<TxtWriter>(options, output);
}

}  // namespace qbsvrl6

// A single, self-contained HTML file that is also well-formed XML. Bands of free controls become layout
// tables, the detail grid becomes a table with its titles as headings; all of them share the grid's columns.
// Styles are classes, which are known only at the end, so the head is written last.
#include <algorithm>
#include <map>
#include <set>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "qbsvrl6/drawing/svg.h"
#include "qbsvrl6/fonts/text_language.h"
#include "qbsvrl6/items/pending_items.h"
#include "qbsvrl6/items/unbroken_spans.h"
#include "qbsvrl6/sheet/escape.h"
#include "qbsvrl6/sheet/grid/cell_sink.h"
#include "qbsvrl6/sheet/text/css.h"
#include "qbsvrl6/sheet/text/free_blocks.h"
#include "qbsvrl6/sheet/text/htm_content.h"
#include "qbsvrl6/sheet/text/htm_rules.h"
#include "qbsvrl6/sheet/text_stream.h"
#include "qbsvrl6/support/append.h"

namespace qbsvrl6 {

using namespace std::string_view_literals;

namespace {

// Smaller gaps are rounding errors.
constexpr Micrometres kLeastGap = 500;

// A wider drawing would be unreadable if shrunk to the width of a phone, so it scrolls sideways.
constexpr Micrometres kWideDrawing = 120'000;

// The width of a block of free controls on a phone, in tracks.
constexpr int kTracks = 24;

// The number of rows of a report footer that hold totals: all rows down to the last one with a single value.
std::size_t countSumRows(std::span<const CellRow> rows) {
    std::size_t end = 0;
    for (std::size_t row = 0; row < rows.size(); ++row) {
        for (const Cell& cell : rows[row].cells) {
            const auto* text = cell.item == nullptr ? nullptr : std::get_if<TextItem>(&cell.item->content);
            const bool isSum = text != nullptr && !text->pending && isOneValue(*text);
            // A cell that spans rows is not divided.
            if (isSum || row < end) end = std::max(end, row + static_cast<std::size_t>(cell.rowSpan));
        }
    }
    return end;
}

class HtmWriter final : public CellSink {
public:
    HtmWriter(const SheetOptions& options, Spool& output)
        : CellSink(options, GridFit::Exact), options_(options), output_(output) {
        rowsLeft_.assign(static_cast<std::size_t>(grid().columnCount()), 0);
        gridStart_ = "<div class=\"grid\"><table aria-label=\"";
        appendMarkup(gridStart_, title());
        gridStart_ += "\">";
        columns_ = "<colgroup>";
        for (int column = 0; column < grid().columnCount(); ++column) {
            columns_ += "<col class=\"c" + std::to_string(column) + "\"/>";
        }
        columns_ += "</colgroup>";
    }

private:
    static constexpr std::string_view kCell = "<td";

    enum class Part { None, Free, Footer, Head, Body, Sums };

    void openPage(const PageInfo& page, bool) override {
        out() += "<section class=\"page";
        if (page.paperKind != 0) {
            papers_.emplace(page.paperKind, page).first->second.sheet = {};
            out() += " paper" + std::to_string(page.paperKind);
        }
        out() += "\">\n";
    }

    void closePage() override {
        enter(Part::None, 0);
        out() += "</section>\n";
    }

    void writeRows(const Band& band, std::span<const CellRow> rows) override {
        const bool followsGrid = part_ == Part::Body || part_ == Part::Sums;
        // A header after the grid is that of a sub-report.
        if ((band.kind == BandKind::ReportFooter || band.kind == BandKind::ReportHeader) && followsGrid) {
            const std::size_t sums = countSumRows(rows);
            writePart(Part::Sums, band, rows.first(sums));
            rows = rows.subspan(sums);
        }
        writePart(partOf(band), band, rows);
        stream_.writeIfLarge();
    }

    void writePart(Part part, const Band& band, std::span<const CellRow> rows) {
        if (rows.empty()) return;
        enter(part, rows.front().gap);
        attachOverlays(rows);
        std::vector<BlockRows> blocks;
        if (part == Part::Free) blocks = findBlocks(rows, grid(), band.kind == BandKind::Row);
        auto next = blocks.begin();
        for (std::size_t row = 0; row < rows.size(); ++row) {
            if (next != blocks.end() && row == next->first) beginBlocks(*next);
            if (blocks_ != nullptr) line_ = static_cast<int>(row - blocks_->first);
            if (part_ != Part::Head) openBody();
            if (row > 0 || !partIsNew_) writeGap(rows[row].gap);
            partIsNew_ = false;
            overlays_ = {};
            if (!overlaysOf_.empty()) overlays_ = overlaysOf_[row];
            writeRow(band, rows[row]);
            if (blocks_ != nullptr && row + 1 == blocks_->end) {
                endBlocks();
                ++next;
            }
        }
    }

    // Rows of blocks are a part of the table, in which the cells know their lines on a phone.
    void beginBlocks(const BlockRows& blocks) {
        blocks_ = &blocks;
        closeBody();
        openBody(" class=\"b\"");
    }

    void endBlocks() {
        blocks_ = nullptr;
        closeBody();
    }

    // The part of a table that has its rows, without its titles, or some of them. It is never empty.
    void openBody(const char* attributes = "") {
        if (inBody_) return;
        inBody_ = true;
        out() += "<tbody" + std::string(attributes) + ">\n";
    }

    void closeBody() {
        if (inBody_) out() += "</tbody>";
        inBody_ = false;
    }

    // Appends the attribute `style` of a cell, if it has one.
    void writePlace(int column, int end, int rowSpan) {
        if (blocks_ == nullptr && overlays_.empty()) return;
        out() += " style=\"";
        if (!overlays_.empty()) out() += "position:relative";
        if (blocks_ != nullptr) {
            if (!overlays_.empty()) out() += ';';
            writeLine(column, end, rowSpan);
        }
        out() += '"';
    }

    // The blocks are below one another, with an empty line between them.
    void writeLine(int column, int end, int rowSpan) {
        std::size_t number = 0;
        while (number + 1 < blocks_->blocks.size() && column >= blocks_->blocks[number].end) ++number;
        const FreeBlock& block = blocks_->blocks[number];
        const auto lines = static_cast<int>(blocks_->end - blocks_->first) + 1;
        out() += "--r:" + std::to_string(static_cast<int>(number) * lines + line_ + 1);
        if (rowSpan > 1) out() += "/span " + std::to_string(rowSpan);
        const int first = trackOf(block, column);
        out() += ";--c:" + std::to_string(first + 1) + '/' +
                 std::to_string(std::max(trackOf(block, end), first + 1) + 1);
    }

    // The track, from 0, at the left edge of a column.
    int trackOf(const FreeBlock& block, int column) const {
        std::int64_t left = 0;
        std::int64_t width = 0;
        for (int i = block.first; i < block.end; ++i) {
            if (i < column) left += grid().columnWidth(i);
            width += grid().columnWidth(i);
        }
        return static_cast<int>((kTracks * left + width / 2) / std::max<std::int64_t>(width, 1));
    }

    Part partOf(const Band& band) const {
        if (band.kind == BandKind::PageFooter) return Part::Footer;
        if (band.kind == BandKind::GridTitle) return Part::Head;
        if (isForm(band) || !(band.inGrid || isInnerRow(band))) return Part::Free;
        return part_ == Part::Sums ? Part::Sums : Part::Body;
    }

    // Whether the band is a row of a sub-report below its titles, or below another table. Labels are not.
    bool isInnerRow(const Band& band) const {
        const bool ofGrid = band.kind == BandKind::Row || band.kind == BandKind::BlankRow ||
                            band.kind == BandKind::GroupHeader || band.kind == BandKind::GroupFooter;
        const bool followsTable = part_ == Part::Head || part_ == Part::Body || part_ == Part::Sums;
        return ofGrid && followsTable;
    }

    // Whether the band is a group header or footer of free controls outside of the grid's table, as in a
    // certificate. Does not apply to several columns of detail: labels side by side would be separated.
    bool isForm(const Band& band) const {
        const bool ofGroup = band.kind == BandKind::GroupHeader || band.kind == BandKind::GroupFooter;
        const bool inTable = part_ == Part::Head || part_ == Part::Body;
        return ofGroup && !inTable && options_.page.columns == 1 &&
               std::all_of(band.items.begin(), band.items.end(),
                           [](const Item& item) { return item.column < 0; });
    }

    // Closes the current table or part of a table, and opens the one that the band belongs to. Rows of the
    // grid follow its titles in the same table; titles begin a new table.
    void enter(Part part, Micrometres gap) {
        if (part == part_) return;
        partIsNew_ = true;
        if (part_ == Part::Head && part == Part::Body) {
            out() += "</thead>";
            part_ = part;
            partIsNew_ = false;
            return;
        }
        closeBody();
        switch (part_) {
            case Part::None:
                break;
            case Part::Head:
                out() += "</thead></table></div>\n";
                break;
            case Part::Body:
            case Part::Sums:
                out() += part == Part::Sums ? "</table>\n" : "</table></div>\n";
                break;
            default:
                out() += "</table>\n";
        }
        part_ = part;
        if (part == Part::None) return;
        if (gap >= kLeastGap && part != Part::Footer) {
            out() += "<div class=\"h" + std::to_string(heightClass(gap)) + "\"></div>\n";
        }
        out() += part == Part::Footer ? "<table class=\"free foot\" role=\"presentation\">"
                 : part == Part::Free ? "<table class=\"free\" role=\"presentation\">"
                 : part == Part::Sums ? "<table role=\"presentation\">"
                                      : gridStart_;
        out() += columns_;
        if (part == Part::Head) out() += "<thead>\n";
    }

    void writeGap(Micrometres gap) {
        if (gap < kLeastGap) return;
        out() += "<tr class=\"h" + std::to_string(heightClass(gap)) + "\"><td colspan=\"" +
                 std::to_string(grid().columnCount()) + "\"></td></tr>\n";
    }

    int heightClass(Micrometres height) {
        const Micrometres rounded = (height + 50) / 100 * 100;
        return heights_.try_emplace(rounded, static_cast<int>(heights_.size())).first->second;
    }

    void writeRow(const Band& band, const CellRow& row) {
        if (row.height != lastHeight_) {
            lastHeight_ = row.height;
            rowStart_ = "<tr class=\"h" + std::to_string(heightClass(row.height)) + "\">";
        }
        out() += rowStart_;
        std::size_t next = 0;
        for (int column = 0; column < grid().columnCount();) {
            int& left = rowsLeft_[static_cast<std::size_t>(column)];
            if (left > 0) {  // a cell of a row above extends to this row
                --left;
                ++column;
            } else if (next < row.cells.size() && row.cells[next].column == column) {
                const Cell& cell = row.cells[next++];
                writeCell(band, cell);
                for (const int end = column + cell.columnSpan; column < end; ++column) {
                    rowsLeft_[static_cast<std::size_t>(column)] = cell.rowSpan - 1;
                }
            } else {
                const int end = next < row.cells.size() ? row.cells[next].column : grid().columnCount();
                column = writeFree(column, end);
            }
        }
        out() += "</tr>\n";
    }

    // An overlay is anchored in a cell of the row in which it begins, or of the nearest row above that has a
    // cell: when rows wrap, it stays with the cells around it.
    void attachOverlays(std::span<const CellRow> rows) {
        overlaysOf_.clear();
        if (rows.front().overlays.empty()) return;
        overlaysOf_.resize(rows.size());
        std::vector<int> free(rows.size(), grid().columnCount());  // columns that no cell from above covers
        std::vector<Micrometres> tops(rows.size(), 0);
        for (std::size_t row = 0; row < rows.size(); ++row) {
            if (row > 0) tops[row] = tops[row - 1] + rows[row - 1].height + rows[row].gap;
            for (const Cell& cell : rows[row].cells) {
                const std::size_t end = std::min(row + static_cast<std::size_t>(cell.rowSpan), rows.size());
                for (std::size_t below = row + 1; below < end; ++below) free[below] -= cell.columnSpan;
            }
        }
        for (Overlay overlay : rows.front().overlays) {
            std::size_t row = rows.size() - 1;
            while (row > 0 && (free[row] <= 0 || tops[row] > overlay.y)) --row;
            overlay.y -= tops[row];
            overlaysOf_[row].push_back(overlay);
        }
    }

    void writeOverlays(int column) {
        for (const Overlay& overlay : std::exchange(overlays_, {})) {
            Micrometres x = overlay.x;
            for (int i = column; i < overlay.column; ++i) x += grid().columnWidth(i);
            for (int i = overlay.column; i < column; ++i) x -= grid().columnWidth(i);
            out() += "<div style=\"position:absolute;left:";
            appendMillimetres(out(), x);
            out() += ";top:";
            appendMillimetres(out(), overlay.y);
            out() += "\">";
            writePicture(*overlay.item);
            out() += "</div>";
        }
    }

    int writeFree(int column, int end) {
        const int start = column;
        while (column < end && rowsLeft_[static_cast<std::size_t>(column)] == 0) ++column;
        out() += "<td";
        writeSpan("colspan", column - start);
        if (!overlays_.empty()) writePlace(start, column, 1);
        out() += '>';
        writeOverlays(start);
        out() += "</td>";
        return column;
    }

    void writeSpan(const char* name, int count) {
        if (count < 2) return;
        out() += ' ';
        out() += name;
        out() += "=\"" + std::to_string(count) + '"';
    }

    void writeCell(const Band& band, const Cell& cell) {
        const Wrapping wrapping =
            cell.item == nullptr ? Wrapping::None : settleWrapping(*cell.item, options_.paged, numbers_);
        const bool isTitle = band.kind == BandKind::GridTitle && cell.item != nullptr &&
                             (isPending(*cell.item) || !textOf(*cell.item).empty());
        const std::string_view start = startOf(cell, wrapping == Wrapping::Forbidden);
        if (isTitle) {
            out() += cell.columnSpan > 1 ? "<th scope=\"colgroup\""sv : "<th scope=\"col\""sv;
            out() += start.substr(kCell.size());
        } else {
            out() += start;
        }
        const std::string_view language = cell.item == nullptr ? "" : languageAttributes(*cell.item);
        if (!language.empty()) out() += language;
        writeSpan("colspan", cell.columnSpan);
        writeSpan("rowspan", cell.rowSpan);
        writePlace(cell.column, cell.column + cell.columnSpan, cell.rowSpan);
        out() += '>';
        if (cell.item != nullptr) writeContent(*cell.item, wrapping);
        writeOverlays(cell.column);
        out() += isTitle ? "</th>"sv : "</td>"sv;
    }

    // The start of a cell's tag, with its style.
    std::string_view startOf(const Cell& cell, bool isNumber) {
        const std::size_t id = 2 * static_cast<std::size_t>(styles_.idOf(cell)) + (isNumber ? 1 : 0);
        while (starts_.size() <= id) {
            const std::string start = std::string(kCell) + " class=\"s" + std::to_string(starts_.size() / 2);
            starts_.push_back(start + '"');
            starts_.push_back(start + " n\"");
        }
        return starts_[id];
    }

    void writeContent(Item& item, Wrapping wrapping) {
        if (const auto* text = std::get_if<TextItem>(&item.content)) {
            language_.see(text->text);
            if (text->pending) {
                stream_.mark();
                pending_.add(std::move(item));
            } else {
                const bool isCut = options_.paged && wrapping == Wrapping::Any && isCutOnPaper(item);
                if (isCut) writeCut(item);
                appendText(out(), item, wrapping, numbers_);
                if (isCut) out() += "</div>";
            }
        } else {
            writePicture(item);
        }
    }

    static bool isCutOnPaper(const Item& item) {
        return item.style != nullptr && item.style->rotation == 0 &&
               (item.style->fit == TextFit::Clip || item.style->fit == TextFit::Ellipsis);
    }

    // On a screen, the whole text is shown.
    void writeCut(const Item& item) {
        const Edges& padding = item.style->padding;
        out() += "<div class=\"cut\" style=\"--cut:";
        appendMillimetres(out(), std::max(item.box.height - padding.top - padding.bottom, 0));
        out() += "\">";
    }

    void writePicture(const Item& item) {
        if (const auto* picture = std::get_if<PictureItem>(&item.content)) {
            if (picture->picture == nullptr) return;
            const bool isFirst = pictures_.insert(picture->picture->id).second;
            appendPicture(out(), *picture, item.box, isFirst);
        } else if (const auto* drawing = std::get_if<DrawingItem>(&item.content)) {
            if (drawing->drawing == nullptr) return;
            const bool isWide = item.box.width > kWideDrawing;
            if (isWide) out() += "<div class=\"wide\">";
            XmlWriter svg(out());
            writeInlineSvg(svg, *drawing->drawing, {item.box.width, item.box.height}, drawing->alternateText);
            if (isWide) out() += "</div>";
        }
    }

    void close(PendingTexts& pending) override {
        appendHead(output_.end());
        stream_.moveTo(output_, [&](std::size_t place, std::string& out) {
            Item item = pending_.item(place);
            settleCell(item, pending);
            findUnbrokenSpans(std::get<TextItem>(item.content), numbers_);
            appendText(out, item, Wrapping::Any, numbers_);
        });
        output_.append("</main>\n</body>\n</html>\n");
    }

    void appendHead(std::string& out) const {
        out += "<!DOCTYPE html>\n<html lang=\"";
        if (options_.info.language.empty()) {
            out += language_.name();
        } else {
            appendMarkup(out, options_.info.language);
        }
        // Columns are from left to right, as on paper; texts have their own direction.
        out +=
            "\" dir=\"ltr\">\n<head>\n<meta charset=\"utf-8\"/>\n"
            "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n<title>";
        appendMarkup(out, title());
        out += "</title>\n";
        appendMeta(out, "author", options_.info.author);
        appendMeta(out, "description", options_.info.subject);
        appendMeta(out, "keywords", options_.info.keywords);
        out += "<style>\n";
        appendPageRules(out, options_, grid(), papers_);
        for (const auto& [height, number] : heights_) {
            out += ".h" + std::to_string(number) + "{height:calc(var(--rows)*";
            appendMillimetres(out, height);
            out += ")}\n";
        }
        const auto& styles = styles_.styles();
        for (std::size_t i = 0; i < styles.size(); ++i) {
            out += ".s" + std::to_string(i) + '{';
            appendDeclarations(out, *styles[i]);
            out += "}\n";
        }
        out += "</style>\n</head>\n<body>\n<main>\n";
    }

    std::u16string_view title() const {
        return options_.info.title.empty() ? u"Report" : std::u16string_view(options_.info.title);
    }

    static void appendMeta(std::string& out, const char* name, std::u16string_view content) {
        if (content.empty()) return;
        out += "<meta name=\"";
        out += name;
        out += "\" content=\"";
        appendMarkup(out, content);
        out += "\"/>\n";
    }

    std::string& out() { return stream_.text(); }

    SheetOptions options_;
    Spool& output_;
    std::string gridStart_;
    std::string columns_;
    TextStream stream_;
    Micrometres lastHeight_ = -1;
    std::string rowStart_;  // of a row of the last height
    StyleTable styles_;
    std::vector<std::string> starts_;  // of cells: two per style, for texts and for numbers
    std::vector<NumberSpan> numbers_;  // of the current text
    LanguageGuess language_;
    std::map<int, PageInfo> papers_;  // other than the report's, by kind
    std::map<Micrometres, int> heights_;
    std::set<std::uint64_t> pictures_;
    std::vector<int> rowsLeft_;                     // of each column: rows that a cell above still covers
    std::vector<std::vector<Overlay>> overlaysOf_;  // by row of the current part; empty if there are none
    std::span<const Overlay> overlays_;             // of the current row, until its first cell has them
    PendingItems pending_;
    const BlockRows* blocks_ = nullptr;  // of the current row; null: none
    int line_ = 0;                       // of the current row in its blocks
    Part part_ = Part::None;
    bool partIsNew_ = false;
    bool inBody_ = false;  // a part of the table is open
};

}  // namespace

std::unique_ptr<PageSink> makeHtmWriter(const SheetOptions& options, Spool& output) {
    return std::make_unique<HtmWriter>(options, output);
}

}  // namespace qbsvrl6

#include "qbsvrl6/sheet/workbook/workbook_sink.h"

#include <algorithm>
#include <cstdlib>
#include <optional>

#include "qbsvrl6/sheet/escape.h"
#include "qbsvrl6/support/log.h"

namespace qbsvrl6 {

namespace {

// Titles that end lower than this would leave little of a screen to the rows that move below them.
constexpr Micrometres kMaxFrozenHeight = 100'000;

// Of the space between two rows where the paper doesn't matter: above a page's footer, and in tables that run
// on.
constexpr Micrometres kMaxGrowth = 12'000;

// Longer addresses make a spreadsheet program repair the whole workbook.

// A text may be this far from its position before it is aligned to the nearer side.
constexpr Micrometres kMaxDrift = 1'500;

enum class Side { Top, Bottom };

// Whether room at a side of the row would show: as part of a box, or as a line that moves.
enum class Room { Blank, MovesLine, FillsBox };

Room roomAt(Side side, const CellRow& row) {
    Room room = Room::Blank;
    for (const Cell& cell : row.cells) {
        const Border& border = cell.border;
        if (cell.background || border.left.width > 0 || border.right.width > 0) return Room::FillsBox;
        if ((side == Side::Top ? border.top : border.bottom).width > 0) room = Room::MovesLine;
    }
    return room;
}

std::optional<VerticalAlign> nearerSide(Micrometres above, Micrometres below) {
    if (std::abs(above - below) <= 2 * kMaxDrift) return std::nullopt;
    return above < below ? VerticalAlign::Top : VerticalAlign::Bottom;
}

// Steps of indentation: one is about 2.5 mm, after the half millimetre that all cells have. What is
// nearer to none stays without.
int indentOf(const Cell& cell) {
    constexpr Micrometres kStep = 2'500;
    constexpr Micrometres kOwn = 500;
    constexpr int kMaxSteps = 15;
    if (cell.item == nullptr || cell.item->style == nullptr) return 0;
    const ResolvedStyle& style = *cell.item->style;
    const bool isFlush = style.align == HorizontalAlign::Left || style.align == HorizontalAlign::Right;
    if (style.rotation != 0 || !isFlush) return 0;
    const Micrometres room = style.align == HorizontalAlign::Right ? cell.inset.right + style.padding.right
                                                                   : cell.inset.left + style.padding.left;
    return std::clamp((room - kOwn + kStep * 3 / 10) / kStep, 0, kMaxSteps);
}

}  // namespace

WorkbookSink::WorkbookSink(const SheetOptions& options, const WorkbookLimits& limits)
    : CellSink(options, GridFit::Overlay), options_(options), limits_(limits) {}

PrintSetup WorkbookSink::printSetup(bool isFirstSheet) const {
    PrintSetup setup;
    for (int column = 0; column < std::min(grid().columnCount(), limits_.columns); ++column) {
        setup.columnWidths.push_back(grid().columnWidth(column));
    }
    setup.page = options_.page;
    setup.paged = options_.paged && options_.pageBreaks;
    setup.isFirstSheet = isFirstSheet;
    setup.header = header_;
    setup.footer = footer_;
    return setup;
}

void WorkbookSink::openPage(const PageInfo&, bool isFirst) {
    if (!isFirst && options_.paged && options_.pageBreaks) breakPage();
    startsPage_ = true;
    taken_ = 0;
}

// The cells of printed pages hold their numbers. Where tables run on, the spreadsheet makes the pages.
bool WorkbookSink::keepBand(Band& band, Micrometres, Micrometres) {
    const bool isHeader = band.kind == BandKind::PageHeader;
    if (options_.paged || (!isHeader && band.kind != BandKind::PageFooter)) return false;
    const Edges& margins = options_.page.margins;
    (isHeader ? header_ : footer_).takeFrom(band, options_.page.paper.width - margins.left - margins.right);
    return band.items.empty();
}

void WorkbookSink::writeRows(const Band& band, std::span<const CellRow> rows) {
    if (rowCount() + static_cast<std::int64_t>(rows.size()) > limits_.rows) {
        beginSheet();
        onFirstSheet_ = false;
    }
    below_.clear();
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const bool isLeftOver = i == 0 && band.kind == BandKind::PageFooter;
        writeRow(rows[i], growthOf(rows, i, options_.paged && !isLeftOver ? kMaxRowHeight : kMaxGrowth));
    }
    if (!rows.back().overlays.empty()) padBelow(rows.back().height);
    if (band.kind == BandKind::GridTitle && onFirstSheet_) noteTitle(static_cast<std::int64_t>(rows.size()));
}

// Title bands that follow each other are the titles, up to the first other band.
void WorkbookSink::noteTitle(std::int64_t rows) {
    const std::int64_t end = rowCount();
    if (titles_.last < titles_.first) {
        titles_.first = end - rows;
    } else if (titles_.last + 1 != end - rows) {
        return;
    }
    titles_.last = end - 1;
    if (height_ <= kMaxFrozenHeight) freezeAbove(end);
}

// No row is empty: the space between two rows goes to the one where it shows least. What follows the last row
// isn't known yet, but that what is left of its band belongs to it.
WorkbookSink::Growth WorkbookSink::growthOf(std::span<const CellRow> rows, std::size_t index,
                                            Micrometres most) const {
    const CellRow& row = rows[index];
    const CellRow* const next = index + 1 < rows.size() ? &rows[index + 1] : nullptr;
    const Micrometres above = startsPage_ && !options_.paged ? 0 : row.gap - taken_;
    const Micrometres below = next != nullptr ? next->gap : row.tail;
    Growth growth;
    if (above >= kMicrometresPerMillimetre && roomAt(Side::Top, row) != Room::FillsBox) {
        growth.above = std::min(above, most - taken_);
    }
    if (below >= kMicrometresPerMillimetre && roomAt(Side::Bottom, row) != Room::FillsBox &&
        (next == nullptr || roomAt(Side::Top, *next) != Room::Blank)) {
        growth.below = std::min(below, most);
    }
    return growth;
}

void WorkbookSink::writeRow(const CellRow& row, const Growth& growth) {
    const Micrometres height = row.height + growth.above + growth.below;
    taken_ = growth.below;
    startsPage_ = false;
    beginRow(height);
    nextBelow_ = 0;
    newBelow_.clear();
    for (const Cell& cell : row.cells) {
        if (cell.column >= limits_.columns) {
            lostCells_ += cell.item != nullptr ? 1 : 0;
            continue;
        }
        writeBelowUpTo(cell.column);
        writeCell(cell, growth);
    }
    writeBelowUpTo(limits_.columns);
    keepBelow();
    for (Overlay overlay : row.overlays) {
        overlay.y += growth.above;
        addOverlay(overlay);
    }
    endRow();
    height_ = std::min(height_ + height, kMaxFrozenHeight + 1);
}

void WorkbookSink::writeCell(const Cell& cell, const Growth& growth) {
    const int columnSpan = std::min(cell.columnSpan, limits_.columns - cell.column);
    const SheetValue value = sheetValue(cell.item, limits_.units);
    const SheetFormat format{value.isNumber(), value.format, indentOf(cell),
                             nearerSide(cell.inset.top + growth.above,
                                        cell.inset.bottom + (cell.rowSpan == 1 ? growth.below : 0))};
    const int style = std::min(styles_.idOf(cell, format), limits_.styles - 1);
    TextItem* const text = cell.item == nullptr ? nullptr : std::get_if<TextItem>(&cell.item->content);
    if (text != nullptr) {
        if (text->text.size() > limits_.units) ++cutTexts_;
        if (!text->link.empty()) writeLink(cell, columnSpan, text->link);
    }
    if (columnSpan > 1 || cell.rowSpan > 1) merge(cell.column, columnSpan, cell.rowSpan);
    if (text != nullptr && text->pending) {
        addPending(cell.column, style, std::move(*cell.item));
    } else {
        addValue(cell.column, style, value);
    }
    // The other cells of a span have its borders.
    for (int column = cell.column + 1; column < cell.column + columnSpan; ++column) addBlank(column, style);
    for (int column = cell.column; cell.rowSpan > 1 && column < cell.column + columnSpan; ++column) {
        newBelow_.push_back({column, style, cell.rowSpan - 1});
    }
}

void WorkbookSink::writeLink(const Cell& cell, int columnSpan, std::u16string_view address) {
    if (!link(cell.column, columnSpan, cell.rowSpan, address)) ++lostLinks_;
}

void WorkbookSink::writeBelowUpTo(int column) {
    for (; nextBelow_ < below_.size() && below_[nextBelow_].column < column; ++nextBelow_) {
        Below& cell = below_[nextBelow_];
        addBlank(cell.column, cell.style);
        --cell.rowsLeft;
    }
}

void WorkbookSink::keepBelow() {
    std::erase_if(below_, [](const Below& cell) { return cell.rowsLeft == 0; });
    if (newBelow_.empty()) return;
    below_.insert(below_.end(), newBelow_.begin(), newBelow_.end());
    std::sort(below_.begin(), below_.end(),
              [](const Below& a, const Below& b) { return a.column < b.column; });
}

// An overlay may be higher than any row can be.
void WorkbookSink::padBelow(Micrometres height) {
    while ((height -= kMaxRowHeight) > 0) {
        beginRow(height);
        endRow();
    }
}

void WorkbookSink::reportLosses() const {
    const auto warn = [](int count, const std::string& what) {
        if (count > 0) logWarning(std::to_string(count) + what);
    };
    warn(cutTexts_,
         " texts were cut at the " + std::to_string(limits_.units) + " characters that a cell holds");
    warn(lostLinks_, " links have no room in their sheet");
    warn(lostCells_, " cells are beyond the last column of a sheet and are left out");
    warn(std::max(static_cast<int>(styles_.styles().size()) - limits_.styles, 0),
         " cell styles are more than a workbook holds; their cells have the style of others");
}

}  // namespace qbsvrl6

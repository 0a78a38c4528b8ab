#include "qbsvrl6/sheet/workbook/workbook_sink.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <unordered_map>
#include <unordered_set>

#include "qbsvrl6/sheet/escape.h"
#include "qbsvrl6/support/letter_case.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/log.h"

namespace qbsvrl6 {

namespace {

// Titles that end lower than this are not frozen: they would leave little of the screen to the rows.
constexpr Micrometres kMaxFrozenHeight = 100'000;

// The same for columns.
constexpr Micrometres kMaxFrozenWidth = 160'000;

constexpr int kMostOutlines = 7;

// The most space that is added to a row where positions on the paper don't matter: above page footers, and in
// documents without pages.
constexpr Micrometres kMaxGrowth = 12'000;

// A text may be this far from its position before it is aligned to the nearer side.
constexpr Micrometres kMaxDrift = 1'500;

enum class Side { Top, Bottom };

// How space added at a side of a row is visible: not at all, as a line that moves, or as part of a box.
enum class Space { Invisible, MovesLine, FillsBox };

Space spaceAt(Side side, const CellRow& row) {
    Space space = Space::Invisible;
    for (const Cell& cell : row.cells) {
        const Border& border = cell.border;
        if (cell.background || border.left.width > 0 || border.right.width > 0) return Space::FillsBox;
        if ((side == Side::Top ? border.top : border.bottom).width > 0) space = Space::MovesLine;
    }
    return space;
}

std::optional<VerticalAlign> nearerSide(Micrometres above, Micrometres below) {
    if (std::abs(above - below) <= 2 * kMaxDrift) return std::nullopt;
    return above < below ? VerticalAlign::Top : VerticalAlign::Bottom;
}

// Steps of indentation. A step is about 2.5 mm, in addition to the half millimetre that all cells have; less
// than 0.7 of a step is dropped.
int indentOf(const Cell& cell) {
    constexpr Micrometres kStep = 2'500;
    constexpr Micrometres kCellPadding = 500;
    constexpr int kMaxSteps = 15;
    if (cell.item == nullptr || cell.item->style == nullptr) return 0;
    const ResolvedStyle& style = *cell.item->style;
    const bool isFlush = style.align == HorizontalAlign::Left || style.align == HorizontalAlign::Right;
    if (style.rotation != 0 || !isFlush) return 0;
    const Micrometres room = style.align == HorizontalAlign::Right ? cell.inset.right + style.padding.right
                                                                   : cell.inset.left + style.padding.left;
    return std::clamp((room - kCellPadding + kStep * 3 / 10) / kStep, 0, kMaxSteps);
}

// A free text that ends with an ellipsis on the page. Its cell shows the beginning; on one line, it would go on over
// the empty cells beside it. In the grid, the next cell cuts it.
bool isCutFreely(const Item* item) {
    const auto* const text = item == nullptr ? nullptr : std::get_if<TextItem>(&item->content);
    return text != nullptr && item->column < 0 && !text->masked && !text->shown.empty();
}

}  // namespace

WorkbookSink::WorkbookSink(const SheetOptions& options, const WorkbookLimits& limits)
    : CellSink(options, GridFit::Overlay), options_(options), limits_(limits), page_(options.page) {}

std::vector<Micrometres> WorkbookSink::columnWidths() const {
    std::vector<Micrometres> widths;
    for (int column = 0; column < std::min(grid().columnCount(), limits_.columns); ++column) {
        widths.push_back(grid().columnWidth(column));
    }
    return widths;
}

PrintSetup WorkbookSink::printSetup(std::size_t sheet) const {
    PrintSetup setup;
    setup.columnWidths = columnWidths();
    setup.page = sheets_[sheet].page.value_or(options_.page);
    setup.paged = options_.paged && options_.pageBreaks;
    setup.isFirstSheet = sheet == 0;
    setup.header = header_;
    setup.footer = footer_;
    return setup;
}

void WorkbookSink::openPage(const PageInfo& page, bool isFirst) {
    const std::size_t sheets = sheets_.size();
    if (!page.sheet.empty()) nameSheet(page.sheet);
    if (!isFirst && sheets == sheets_.size() && options_.paged && options_.pageBreaks) breakPage();
    startsPage_ = true;
    taken_ = 0;
    paperKind_ = page.paperKind;
    page_.paper = page.paper;
    page_.margins = page.margins;
}

void WorkbookSink::notePaper() {
    Sheet& sheet = sheets_.back();
    if (sheet.paperKind == paperKind_) return;
    const bool isFirst = !sheet.paperKind;
    sheet.paperKind = isFirst ? paperKind_ : 0;
    sheet.page = isFirst ? std::optional(page_) : std::nullopt;
}

// The cells of printed pages contain their numbers. Otherwise the spreadsheet makes the pages and numbers
// them.
bool WorkbookSink::keepBand(Band& band, Micrometres, Micrometres) {
    const bool isHeader = band.kind == BandKind::PageHeader;
    if (options_.paged || (!isHeader && band.kind != BandKind::PageFooter)) return false;
    const Edges& margins = options_.page.margins;
    (isHeader ? header_ : footer_).takeFrom(band, options_.page.paper.width - margins.left - margins.right);
    return band.items.empty();
}

void WorkbookSink::writeRows(const Band& band, std::span<const CellRow> rows) {
    if (!band.sheet.empty() && !options_.paged) nameSheet(band.sheet);
    if (rowCount() + static_cast<std::int64_t>(rows.size()) > limits_.rows) {
        addSheet(sheets_.back().name);
        sheets_.back().continues = true;
    }
    if (options_.paged) notePaper();
    below_.clear();
    const int outline = options_.workbook.outline ? std::clamp(band.outline, 0, kMostOutlines) : 0;
    sheets_.back().rowOutlines = std::max(sheets_.back().rowOutlines, outline);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const bool isTopOfFooter = i == 0 && band.kind == BandKind::PageFooter;
        writeRow(rows[i], growthOf(rows, i, options_.paged && !isTopOfFooter ? kMaxRowHeight : kMaxGrowth),
                 outline, band);
    }
    if (!rows.back().overlays.empty()) padBelow(rows.back().height);
    if (band.kind == BandKind::GridTitle && !sheets_.back().continues)
        noteTitle(static_cast<std::int64_t>(rows.size()));
    const WorkbookSettings& settings = options_.workbook;
    const bool isAsked = settings.filter || settings.outline || settings.freeze == WorkbookFreeze::Both;
    if (isAsked && band.inGrid) noteGrid(band, rows);
}

// Where the columns of the grid and the cells of its titles and rows are.
void WorkbookSink::noteGrid(const Band& band, std::span<const CellRow> rows) {
    if (band.kind != BandKind::GridTitle && band.kind != BandKind::Row) return;
    SheetArea& filtered = sheets_.back().filtered;
    if (band.kind == BandKind::Row) filtered.lastRow = rowCount() - 1;
    for (const CellRow& row : rows) {
        for (const Cell& cell : row.cells) {
            if (cell.item == nullptr || cell.item->column < 0 || cell.column >= limits_.columns) continue;
            const int end = std::min(cell.column + cell.columnSpan, limits_.columns);
            if (band.kind == BandKind::GridTitle) {
                filtered.firstColumn = std::min(filtered.firstColumn, cell.column);
                filtered.lastColumn = std::max(filtered.lastColumn, end - 1);
            }
            if (cell.item->lastColumn < options_.grid.fixedColumns)
                frozenColumns_ = std::max(frozenColumns_, end);
            const auto column = static_cast<std::size_t>(cell.item->column);
            const bool isOne = cell.item->column == cell.item->lastColumn;
            if (!isOne || column >= options_.grid.columnOutlines.size()) continue;
            const auto last = static_cast<std::size_t>(end);
            if (columnOutlines_.size() < last) columnOutlines_.resize(last);
            for (auto at = static_cast<std::size_t>(cell.column); at < last; ++at) {
                columnOutlines_[at] = std::min(options_.grid.columnOutlines[column], kMostOutlines);
            }
        }
    }
}

// A sheet that has no name yet has the content before the first group and receives the group's name.
void WorkbookSink::nameSheet(std::u16string_view name) {
    const bool isUnnamed = sheets_.size() == 1 && sheets_.back().name.empty();
    if (isUnnamed) {
        sheets_.back().name = name;
    } else if (sheets_.size() < limits::kNamedSheets) {
        addSheet(std::u16string(name));
    } else {
        ++lostSheets_;
    }
}

void WorkbookSink::addSheet(std::u16string name) {
    sheets_.back().rows = rowCount();
    totals_.clear();
    beginSheet();
    sheets_.emplace_back().name = std::move(name);
    startsPage_ = true;
    taken_ = 0;
    height_ = 0;
}

std::vector<TitleRows> WorkbookSink::titles() const {
    std::vector<TitleRows> titles;
    for (const Sheet& sheet : sheets_) titles.push_back(sheet.titles);
    return titles;
}

SheetFeatures WorkbookSink::featuresOf(std::size_t sheet) const {
    const WorkbookSettings& settings = options_.workbook;
    SheetFeatures features;
    const Sheet& own = sheets_[sheet];
    const SheetArea& filtered = own.filtered;
    const bool hasTitles = own.titles.last >= own.titles.first && filtered.lastColumn >= filtered.firstColumn;
    if (settings.filter && !options_.paged && hasTitles && filtered.lastRow > own.titles.last) {
        features.filter = filtered;
        features.filter->firstRow = own.titles.last;
    }
    const std::int64_t rows = sheet + 1 == sheets_.size() ? rowCount() : own.rows;
    const int columns = std::min(grid().columnCount(), limits_.columns);
    if (settings.printArea && rows > 0) features.printArea = SheetArea{0, rows - 1, 0, columns - 1};
    Micrometres width = 0;
    for (int column = 0; column < frozenColumns_; ++column) width += grid().columnWidth(column);
    if (settings.freeze == WorkbookFreeze::Both && width <= kMaxFrozenWidth)
        features.frozenColumns = frozenColumns_;
    if (!settings.outline) return features;
    features.columnOutlines = columnOutlines_;
    features.rowOutlines = own.rowOutlines;
    features.hasSummariesAbove = options_.grid.hasSummariesAbove;
    features.hasSummariesAtLeft = options_.grid.hasSummariesAtLeft;
    return features;
}

std::vector<std::u16string> WorkbookSink::sheetNames(std::u16string_view reserved) const {
    std::vector<std::u16string> names;
    std::unordered_set<std::u16string> known;  // spreadsheets ignore the case of names
    if (!reserved.empty()) known.insert(foldedCase(reserved));
    std::unordered_map<std::u16string, std::size_t> counts;
    for (const Sheet& sheet : sheets_) {
        const std::u16string& title = sheet.name.empty() ? options_.info.title : sheet.name;
        std::size_t& number = counts[foldedCase(sheetName(title, 1))];
        do {
            names.push_back(sheetName(title, ++number));
            if (known.insert(foldedCase(names.back())).second) break;
            names.pop_back();
        } while (true);
    }
    return names;
}

// Consecutive title bands form the titles, up to the first other band.
void WorkbookSink::noteTitle(std::int64_t rows) {
    const std::int64_t end = rowCount();
    TitleRows& titles = sheets_.back().titles;
    if (titles.last < titles.first) {
        titles.first = end - rows;
    } else if (titles.last + 1 != end - rows) {
        return;
    }
    titles.last = end - 1;
    if (height_ <= kMaxFrozenHeight && options_.workbook.freeze != WorkbookFreeze::None) freezeAbove(end);
}

// No row is empty: the space between two rows is added to the one where it is least visible. The row after
// the last one is not known yet, but the rest of the band belongs to the last row.
WorkbookSink::Growth WorkbookSink::growthOf(std::span<const CellRow> rows, std::size_t index,
                                            Micrometres most) const {
    const CellRow& row = rows[index];
    const CellRow* const next = index + 1 < rows.size() ? &rows[index + 1] : nullptr;
    const Micrometres above = startsPage_ && !options_.paged ? 0 : row.gap - taken_;
    const Micrometres below = next != nullptr ? next->gap : row.tail;
    Growth growth;
    if (above >= kMicrometresPerMillimetre && spaceAt(Side::Top, row) != Space::FillsBox) {
        growth.above = std::min(above, most - taken_);
    }
    if (below >= kMicrometresPerMillimetre && spaceAt(Side::Bottom, row) != Space::FillsBox &&
        (next == nullptr || spaceAt(Side::Top, *next) != Space::Invisible)) {
        growth.below = std::min(below, most);
    }
    return growth;
}

void WorkbookSink::writeRow(const CellRow& row, const Growth& growth, int outline, const Band& band) {
    const Micrometres height = row.height + growth.above + growth.below;
    taken_ = growth.below;
    startsPage_ = false;
    beginRow(height, outline);
    nextBelow_ = 0;
    newBelow_.clear();
    for (const Cell& cell : row.cells) {
        if (cell.column >= limits_.columns) {
            lostCells_ += cell.item != nullptr ? 1 : 0;
            continue;
        }
        writeBelowUpTo(cell.column);
        writeCell(cell, growth, band);
    }
    writeBelowUpTo(limits_.columns);
    keepBelow();
    for (Overlay overlay : row.overlays) {
        overlay.y += growth.above;
        addOverlay(overlay);
    }
    totals_.endRow();
    endRow();
    height_ = std::min(height_ + height, kMaxFrozenHeight + 1);
}

void WorkbookSink::writeCell(const Cell& cell, const Growth& growth, const Band& band) {
    const int columnSpan = std::min(cell.columnSpan, limits_.columns - cell.column);
    SheetValue value = sheetValue(cell.item, limits_.units);
    SheetFormat format{value.isNumber(), value.format, indentOf(cell),
                       nearerSide(cell.inset.top + growth.above,
                                  cell.inset.bottom + (cell.rowSpan == 1 ? growth.below : 0))};
    if (isCutFreely(cell.item)) {
        format.wraps = true;
        format.verticalAlign = VerticalAlign::Top;
    }
    const int style = std::min(styles_.idOf(cell, format), limits_.styles - 1);
    TextItem* const text = cell.item == nullptr ? nullptr : std::get_if<TextItem>(&cell.item->content);
    if (text != nullptr && options_.workbook.formulas) {
        totals_.add(cell.column, rowCount(), text->calculation, band, value);
    }
    if (text != nullptr) {
        if (text->text.size() > limits_.units && !text->pending) {
            const std::u16string_view rest = std::u16string_view(text->text).substr(value.text.size());
            if (rest.size() > limits_.units || !comment(cell.column, rest)) ++cutTexts_;
        }
        if (!text->link.empty()) writeLink(cell, columnSpan, text->link);
    }
    if (columnSpan > 1 || cell.rowSpan > 1) merge(cell.column, columnSpan, cell.rowSpan);
    if (text != nullptr && text->pending) {
        addPending(cell.column, style, std::move(*cell.item));
    } else {
        addValue(cell.column, style, value);
    }
    // The other cells of a span need its style for the borders.
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

// An overlay may be higher than the highest row.
void WorkbookSink::padBelow(Micrometres height) {
    while ((height -= kMaxRowHeight) > 0) {
        beginRow(height, 0);
        endRow();
    }
}

void WorkbookSink::reportLosses() const {
    const auto warn = [](int count, const std::string& what) {
        if (count > 0) logWarning(std::to_string(count) + what);
    };
    warn(cutTexts_, " texts were cut off at " + std::to_string(limits_.units) +
                        " characters, the most that a cell can hold");
    warn(lostLinks_, " links are more than their sheet can hold and are left out");
    warn(lostSheets_, " groups have no sheet of their own: a workbook has at most " +
                          std::to_string(limits::kNamedSheets));
    warn(lostCells_, " cells are beyond the last column of a sheet and are left out");
    warn(std::max(static_cast<int>(styles_.styles().size()) - limits_.styles, 0),
         " cell styles are more than a workbook can hold; their cells have another style");
}

}  // namespace qbsvrl6

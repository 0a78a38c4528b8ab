// The cells of titles and rows.
#include <algorithm>
#include <numeric>

#include "qbsvrl6/layout/band_builder.h"
#include "qbsvrl6/layout/text_layout.h"

namespace qbsvrl6 {

BandDraft BandBuilder::title() {
    PlannedGrid& grid = *instance_.plan.grid;
    return cells({grid.titles, grid.titleHeights, true, BandKind::GridTitle}, reportPosition(0),
                 std::nullopt);
}

BandDraft BandBuilder::row(std::size_t row, std::optional<std::size_t> previous) {
    PlannedGrid& grid = *instance_.plan.grid;
    BandDraft draft = hasPlainRows_
                          ? plainRow(rowPosition(row))
                          : cells({grid.cells, {&grid.rowHeight, 1}, grid.grid->rowCanGrow, BandKind::Row},
                                  rowPosition(row), previous);
    draft.band.background = alternate(row, 0);
    draft.mayBreak = grid.grid->rowsMayBreak;
    return draft;
}

// The same as cells() makes of it: nothing of the row but its texts and its height differs from other rows.
BandDraft BandBuilder::plainRow(const Position& position) {
    PlannedGrid& grid = *instance_.plan.grid;
    BandDraft draft;
    Band& band = draft.band;
    band.kind = BandKind::Row;
    band.structure = structure_.addBand(BandKind::Row);
    band.form = firstForm_;
    band.height = grid.rowHeight;
    draft.row = position.row;
    band.items = context_.spareItems.take(grid.cells.size());
    band.items.resize(grid.cells.size());
    for (std::size_t i = 0; i < grid.cells.size(); ++i) {
        PlannedControl& control = grid.cells[i];
        Item& item = band.items[i];
        makeBlank(item);
        setStyle(item, control, control.box, control.style);
        item.role = roleOfCell(control, band.structure, control.lastColumn);
        const Micrometres needed =
            makeTextItem(std::get<PlannedText>(control.content), position, *control.style, item);
        if (grid.grid->rowCanGrow) band.height = std::max(band.height, needed);
    }
    for (std::size_t i = 0; i < grid.cells.size(); ++i) {
        Item& item = band.items[i];
        item.box.y = 0;
        item.box.height = band.height;
        if (!context_.options.measureText) continue;
        auto& text = std::get<TextItem>(item.content);
        const bool isUndrawn = !context_.options.drawText && text.lines.empty() && !isTurned(*item.style);
        if (!isUndrawn) fitText(grid.cells[i], item, text, false);
    }
    finishGridBand(draft);
    return draft;
}

// The alternating background of the blank row that is `blanks` rows after `row`.
std::optional<Color> BandBuilder::alternate(std::size_t row, std::size_t blanks) const {
    const std::optional<Color>& background = instance_.plan.grid->grid->alternateBackground;
    if (!background) return background;
    const bool grouped = view_.groupCount() > 0 && row < view_.rowCount();
    const std::size_t first = grouped ? view_.group(view_.groupCount() - 1, row).first : 0;
    const bool second = (row - first + blanks) % 2 == 1;
    return second ? background : std::nullopt;
}

// The first line of the control, counting all levels of all lines.
std::size_t BandBuilder::lineOf(const PlannedControl& control, std::size_t levels) const {
    const auto column = static_cast<std::size_t>(control.firstColumn);
    const auto line = static_cast<std::size_t>(instance_.plan.grid->geometry.columns[column].line);
    return line * levels + static_cast<std::size_t>(control.level);
}

// All cells of a title or row. If the columns wrap, they form several lines, each with all levels.
BandDraft BandBuilder::cells(const CellLines& lines, const Position& position,
                             std::optional<std::size_t> previous) {
    const GridGeometry& geometry = instance_.plan.grid->geometry;
    BandDraft draft;
    draft.band.kind = lines.kind;
    draft.band.structure = structure_.addBand(lines.kind);
    for (std::size_t level = 1; level < lines.heights.size(); ++level) structure_.addBand(lines.kind);
    draft.row = position.row;
    beginItems(draft, lines.controls.size());
    lineHeights_.clear();
    for (int line = 0; line < geometry.lines; ++line) {
        lineHeights_.insert(lineHeights_.end(), lines.heights.begin(), lines.heights.end());
    }
    covered_ = -1;
    for (std::size_t i = 0; i < lines.controls.size(); ++i) addCell(lines, i, position, previous, draft);
    endItems(draft);
    settleLines(lines, draft);
    place(draft);
    finishGridBand(draft);
    const bool isRow = lines.kind == BandKind::Row && geometry.lines == 1;
    if (isRow && hasAllItems_ && instance_.plan.grid->joins.empty()) {
        draft.band.form = firstForm_ + static_cast<std::uint32_t>(activeColumnGroup - kEveryColumnGroup);
    }
    return draft;
}

void BandBuilder::addCell(const CellLines& lines, std::size_t index, const Position& position,
                          std::optional<std::size_t> previous, BandDraft& draft) {
    PlannedControl& control = lines.controls[index];
    const bool inColumnGroup = activeColumnGroup == kEveryColumnGroup ||
                               control.columnGroup == kEveryColumnGroup ||
                               control.columnGroup == activeColumnGroup;
    if (!inColumnGroup) return;
    const bool mayJoin = lines.kind == BandKind::Row && !instance_.plan.grid->joins.empty();
    Rect box = control.box;
    int last = control.lastColumn;
    if (mayJoin) {
        if (control.firstColumn <= covered_) return;
        last = joinColumns(index, position, box);
        if (last == control.lastColumn && openMerged(index, position, draft.band.structure)) return;
    }
    UnplacedItem& unplaced = addItem(draft, control);
    unplaced.item->role = roleOfCell(control, draft.band.structure, last);
    if (lines.kind == BandKind::Row && !showsRow(control, position)) {
        setStyle(unplaced, box, control.style);
        std::get<TextItem>(unplaced.item->content).fontSize = control.style->fontSize;
        return;
    }
    if (!makeItem(box, position, unplaced)) return dropItem();
    unplaced.item->lastColumn = last;
    unplaced.removed = false;  // a cell always has the height of its row
    if (previous) suppress(unplaced, position, *previous, draft);
    if (unplaced.needed == 0 || !lines.canGrow || control.levels > 1) return;
    Micrometres& line = lineHeights_[lineOf(control, lines.heights.size())];
    line = std::max(line, unplaced.needed);
}

// A cell of a column that repeats shows the rows of its value.
bool BandBuilder::showsRow(const PlannedControl& control, const Position& position) const {
    if (!control.rows) return true;
    const std::optional<std::size_t> row = view_.tableRow(position);
    return row && control.rows->hold(*row);
}

// Each level of a title has an entry of its own, after that of the first one.
ItemRole BandBuilder::roleOfCell(const PlannedControl& control, std::uint32_t entry, int lastColumn) const {
    if (entry == 0) return {};
    const auto column = static_cast<std::size_t>(control.firstColumn);
    const std::uint32_t ofLevel = entry + static_cast<std::uint32_t>(control.level);
    ItemRole role = structure_.roleOf(ofLevel, column, control, activeColumnGroup);
    role.lastColumn = lastColumn;
    return role;
}

int BandBuilder::joinColumns(std::size_t index, const Position& position, Rect& box) {
    const CellJoins& joins = instance_.plan.grid->joins[index];
    const int own = instance_.plan.grid->cells[index].lastColumn;
    if (!joins.spanWhen || !view_.isTrue(*joins.spanWhen, position)) return own;
    box.width = joins.spanWidth;
    covered_ = joins.spanLast;
    return joins.spanLast;
}

// The heights and tops of the lines, and with them the boxes of the cells. What a cell of several lines needs
// beyond them is added to its last one.
void BandBuilder::settleLines(const CellLines& lines, BandDraft& draft) {
    const std::size_t levels = lines.heights.size();
    const auto heightOf = [&](const PlannedControl& control) {
        const auto first = lineHeights_.begin() + static_cast<std::ptrdiff_t>(lineOf(control, levels));
        return std::accumulate(first, first + control.levels, Micrometres{0});
    };
    if (lines.canGrow && levels > 1) {
        for (const UnplacedItem& unplaced : unplacedItems_) {
            const Micrometres height = heightOf(*unplaced.control);
            const std::size_t last =
                lineOf(*unplaced.control, levels) + static_cast<std::size_t>(unplaced.control->levels) - 1;
            if (unplaced.needed > height) lineHeights_[last] += unplaced.needed - height;
        }
    }
    if (merging_ != nullptr && lines.canGrow) {
        for (std::size_t i = 0; i < merging_->open.size(); ++i) {
            const MergedCell& cell = merging_->open[i];
            if (!cell.unplaced || merging_->goesOn[i]) continue;
            const Micrometres missing = cell.unplaced->needed - (merging_->top - cell.top);
            lineHeights_.back() = std::max(lineHeights_.back(), missing);
        }
    }
    lineTops_.clear();
    for (std::size_t line = 0; line < lineHeights_.size(); ++line) {
        lineTops_.push_back(draft.band.height);
        if (draft.band.height > 0 && line % levels == 0) draft.cuts.push_back(draft.band.height);
        draft.band.height += lineHeights_[line];
    }
    const bool isOneLine = lineHeights_.size() == 1;
    for (UnplacedItem& unplaced : unplacedItems_) {
        unplaced.item->box.y = isOneLine ? 0 : lineTops_[lineOf(*unplaced.control, levels)];
        unplaced.item->box.height = isOneLine ? draft.band.height : heightOf(*unplaced.control);
    }
}

// Empties a cell whose text equals that of the row above.
void BandBuilder::suppress(UnplacedItem& unplaced, const Position& position, std::size_t previous,
                           BandDraft& draft) {
    auto* const planned = std::get_if<PlannedText>(&unplaced.control->content);
    if (planned == nullptr || !planned->suppressRepeated) return;
    TextItem& text = std::get<TextItem>(unplaced.item->content);
    if (text.text.empty() || (unplaced.late && unplaced.late->text != nullptr)) return;
    Position above = position;
    above.row = previous;
    view_.evaluateText(planned->text, evaluationPosition(*planned, above), evaluated_);
    if (evaluated_.text != text.text) return;
    text = {};
    text.fontSize = unplaced.style->fontSize;
    if (unplaced.late) unplaced.late->contentAt.reset();
    unplaced.needed = 0;
    draft.hidesRepeated = true;
}

BandDraft BandBuilder::blankRow(Micrometres height, std::size_t number) {
    const PlannedGrid& grid = *instance_.plan.grid;
    BandDraft draft;
    draft.band.kind = BandKind::BlankRow;
    draft.band.height = height;
    draft.row = view_.rowCount();
    draft.band.background = draft.row > 0 ? alternate(draft.row - 1, number) : alternate(0, number - 1);
    for (const PlannedControl& control : grid.cells) {
        const bool inColumnGroup = activeColumnGroup == kEveryColumnGroup ||
                                   control.columnGroup == kEveryColumnGroup ||
                                   control.columnGroup == activeColumnGroup;
        const PlacedColumn& column = grid.geometry.columns[static_cast<std::size_t>(control.firstColumn)];
        if (!inColumnGroup || column.line > 0) continue;
        Item item;
        item.box = {column.x, 0, column.width, height};
        item.style = control.style;
        item.column = item.lastColumn = control.firstColumn;
        draft.band.items.push_back(std::move(item));
        if (hasColumnGroups()) draft.columnGroups.push_back(control.columnGroup);
    }
    finishGridBand(draft);
    return draft;
}

}  // namespace qbsvrl6

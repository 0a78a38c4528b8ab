// Rows that merged cells hold together, as one band.
#include <algorithm>
#include <utility>

#include "qbsvrl6/layout/band_builder.h"
#include "qbsvrl6/support/limits.h"

namespace qbsvrl6 {

// Which cells of the row cover further columns, or are covered.
std::vector<bool> BandBuilder::spannedCells(std::size_t row) {
    const PlannedGrid& grid = *instance_.plan.grid;
    std::vector<bool> spanned(grid.joins.size());
    int covered = -1;
    for (std::size_t i = 0; i < grid.joins.size(); ++i) {
        const CellJoins& joins = grid.joins[i];
        spanned[i] = grid.cells[i].firstColumn <= covered;
        if (spanned[i] || !joins.spanWhen || !view_.isTrue(*joins.spanWhen, rowPosition(row))) continue;
        spanned[i] = true;
        covered = joins.spanLast;
    }
    return spanned;
}

// A cell continues that of the row above if its key is the same, those of the merged cells on its left continue
// as well, and no cell covers several columns there in either row.
std::vector<bool> BandBuilder::continuesAbove(std::size_t row) {
    const std::vector<CellJoins>& joins = instance_.plan.grid->joins;
    std::vector<bool> continues(joins.size());
    if (row == 0 || view_.startingLevel(row) < view_.groupCount()) return continues;
    const std::vector<bool> spanned = spannedCells(row);
    const std::vector<bool> spannedAbove = spannedCells(row - 1);
    TextArena arena;
    for (std::size_t i = 0; i < joins.size(); ++i) {
        if (!joins[i].mergeBy) continue;
        if (spanned[i] || spannedAbove[i]) break;
        const OwnedValue above(view_.evaluate(*joins[i].mergeBy, rowPosition(row - 1)));
        const Value key = view_.evaluate(*joins[i].mergeBy, rowPosition(row));
        if (compareValues(above.get(), key, arena) != 0) break;
        continues[i] = true;
    }
    return continues;
}

bool BandBuilder::staysWithNext(std::size_t row) {
    const std::optional<Expression>& keep = instance_.plan.grid->keepWithNext;
    return keep && view_.isTrue(*keep, rowPosition(row));
}

RowRange BandBuilder::mergedRows(std::size_t row) {
    RowRange rows{row, row + 1};
    const std::size_t cells = std::max<std::size_t>(instance_.plan.grid->cells.size(), 1);
    const std::size_t most = std::clamp<std::size_t>(limits::kMergedItems / cells, 2, limits::kMergedRows);
    while (rows.end < view_.rowCount() && rows.end - row < most) {
        const std::vector<bool> continues = continuesAbove(rows.end);
        if (std::find(continues.begin(), continues.end(), true) == continues.end()) break;
        ++rows.end;
    }
    return rows;
}

// Whether the cell belongs to a merged cell, which is not placed in its first row. It begins one here if the
// row above has another.
bool BandBuilder::openMerged(std::size_t index, const Position& position, std::uint32_t entry) {
    if (merging_ == nullptr) return false;
    MergedCell& cell = merging_->open[index];
    if (merging_->continues[index] && cell.unplaced) return true;
    if (!merging_->goesOn[index]) return false;
    cell.top = merging_->top;
    PlannedControl& control = instance_.plan.grid->cells[index];
    cell.item = {};
    UnplacedItem& unplaced = cell.unplaced.emplace(control, cell.item);
    unplaced.item->role = roleOfCell(control, entry, control.lastColumn);
    if (!makeItem(control.box, position, unplaced)) cell.unplaced.reset();
    return true;
}

// Places the merged cells that end at the bottom of the row with this entry.
void BandBuilder::closeMerged(BandDraft& draft, Micrometres bottom, std::uint32_t entry) {
    for (std::size_t i = 0; i < merging_->open.size(); ++i) {
        MergedCell& cell = merging_->open[i];
        if (!cell.unplaced || merging_->goesOn[i]) continue;
        cell.item.box.y = cell.top;
        cell.item.box.height = bottom - cell.top;
        cell.item.role.lastBand = entry;
        if (fit(*cell.unplaced)) moveInto(draft, *cell.unplaced);
        cell.unplaced.reset();
    }
}

BandDraft BandBuilder::mergedRows(RowRange rows, std::optional<std::size_t> previous) {
    Merging merging;
    merging.open.resize(instance_.plan.grid->cells.size());
    merging.continues.resize(merging.open.size());
    BandDraft whole;
    whole.band.kind = BandKind::Row;
    whole.row = rows.first;
    for (std::size_t row = rows.first; row < rows.end; ++row) {
        merging.goesOn =
            row + 1 < rows.end ? continuesAbove(row + 1) : std::vector<bool>(merging.open.size());
        merging.top = whole.band.height;
        merging_ = &merging;
        BandDraft drawn = this->row(row, row == rows.first ? previous : row - 1);
        const std::uint32_t entry = drawn.band.structure;
        const bool isKept = row > rows.first && staysWithNext(row - 1);
        if (row > rows.first && !isKept) whole.cuts.push_back(whole.band.height);
        append(whole, std::move(drawn));
        closeMerged(whole, whole.band.height, entry);
        merging_ = nullptr;
        merging.continues = std::move(merging.goesOn);
    }
    whole.mayBreak = true;
    finishGridBand(whole);
    return whole;
}

// The background of a row in a band of several rows, except below merged cells.
void BandBuilder::fillRow(BandDraft& whole, const BandDraft& row) const {
    const PlannedGrid& grid = *instance_.plan.grid;
    const bool hasGroups = hasColumnGroups();
    const int groups = hasGroups ? grid.geometry.columnGroups : 1;
    const auto fill = [&](Micrometres left, Micrometres right, int group) {
        if (left >= right) return;
        Item item;
        item.box = {left, whole.band.height, right - left, row.band.height};
        item.style = context_.styles.intern({});
        item.content = BoxItem{{{0, {}}, row.band.background, 0}};
        whole.band.items.push_back(std::move(item));
        if (hasGroups) whole.columnGroups.push_back(group);
    };
    for (int at = 0; at < groups; ++at) {
        const int group = hasGroups ? at : activeColumnGroup;
        Micrometres left = 0;
        for (std::size_t i = 0; i < grid.cells.size(); ++i) {
            const auto column = static_cast<std::size_t>(grid.cells[i].firstColumn);
            const bool isMerged = merging_->continues[i] || merging_->goesOn[i];
            const bool isShown = group == kEveryColumnGroup || grid.geometry.inColumnGroup(column, group);
            if (!isMerged || !isShown) continue;
            fill(left, grid.cells[i].box.x, group);
            left = grid.cells[i].box.right();
        }
        fill(left, grid.geometry.widthOf(group), group);
    }
}

// Adds a row below the others of the band. Its background becomes items.
void BandBuilder::append(BandDraft& whole, BandDraft&& row) const {
    const Micrometres top = whole.band.height;
    for (const Micrometres cut : row.cuts) whole.cuts.push_back(top + cut);
    whole.rowTops.push_back(top);
    if (whole.band.structure == 0) whole.band.structure = row.band.structure;
    if (row.band.background) fillRow(whole, row);
    const std::size_t first = whole.band.items.size();
    for (Item& item : row.band.items) {
        item.box.y += top;
        whole.band.items.push_back(std::move(item));
    }
    for (LateItem& late : row.deferred) {
        late.item += first;
        whole.deferred.push_back(std::move(late));
    }
    whole.columnGroups.insert(whole.columnGroups.end(), row.columnGroups.begin(), row.columnGroups.end());
    whole.hidesRepeated = whole.hidesRepeated || row.hidesRepeated;
    whole.band.height += row.band.height;
}

}  // namespace qbsvrl6

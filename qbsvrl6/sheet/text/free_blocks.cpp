#include "qbsvrl6/sheet/text/free_blocks.h"

#include <algorithm>
#include <utility>

namespace qbsvrl6 {

namespace {

constexpr Micrometres kLeastGutter = 2'500;  // between blocks

bool isShown(const Cell& cell) {
    return cell.item != nullptr &&
           (isPending(*cell.item) || isPicture(*cell.item) || !textOf(*cell.item).empty());
}

bool isEqualPrint(const Cell& a, const Cell& b) {
    if (isPicture(*a.item) || isPicture(*b.item)) return isPicture(*a.item) && isPicture(*b.item);
    const ResolvedStyle* const one = a.item->style;
    const ResolvedStyle* const other = b.item->style;
    return one != nullptr && other != nullptr && one->fontSize == other->fontSize &&
           one->bold == other->bold && one->color == other->color;
}

class Finder {
public:
    Finder(std::span<const CellRow> rows, const CellGrid& grid, bool areLabels)
        : rows_(rows), grid_(grid), areLabels_(areLabels) {}

    std::vector<BlockRows> find() {
        for (std::size_t row = 0; row < rows_.size(); ++row) addRow(row);
        close();
        return std::move(found_);
    }

private:
    using Covered = std::vector<bool>;  // by column

    // The blocks of the covered columns.
    std::vector<FreeBlock> blocksOf(const Covered& covered) const {
        std::vector<FreeBlock> blocks;
        Micrometres gap = 0;
        for (int column = 0; column < grid_.columnCount(); ++column) {
            if (!covered[static_cast<std::size_t>(column)]) {
                gap += grid_.columnWidth(column);
                continue;
            }
            if (blocks.empty() || gap >= kLeastGutter) blocks.push_back({column, column});
            blocks.back().end = column + 1;
            gap = 0;
        }
        return blocks;
    }

    // Rows belong together as long as they have the same gaps, or a cell covers both.
    void addRow(std::size_t row) {
        Covered own(static_cast<std::size_t>(grid_.columnCount()));
        for (const Cell& cell : rows_[row].cells) {
            if (!isShown(cell)) continue;
            for (int column = cell.column; column < cell.column + cell.columnSpan; ++column)
                own[static_cast<std::size_t>(column)] = true;
        }
        const bool isCrossed = row < crossedTo_;
        Covered both = covered_.empty() ? own : covered_;
        for (std::size_t column = 0; column < both.size(); ++column)
            both[column] = both[column] || own[column];
        const std::vector<FreeBlock> blocks = blocksOf(both);
        const bool isNew = !isCrossed && (blocks_.size() <= 1 || blocks.size() < blocks_.size());
        if (isNew) close();
        covered_ = isNew ? std::move(own) : std::move(both);
        blocks_ = isNew ? blocksOf(covered_) : blocks;
        end_ = row + 1;
        for (const Cell& cell : rows_[row].cells)
            crossedTo_ = std::max(crossedTo_, row + static_cast<std::size_t>(cell.rowSpan));
    }

    void close() {
        if (blocks_.size() > 1 && areReadDownwards()) found_.push_back({first_, end_, blocks_});
        first_ = end_;
        covered_.clear();
        blocks_.clear();
    }

    bool areReadDownwards() const {
        bool hasLines = false;     // a block has several
        bool isCompound = false;   // a line of a block has several cells
        bool rowsAreEqual = true;  // cells side by side look the same
        bool allAreEqual = true;   // so do those below one another
        bool hasPicture = false;
        const Cell* earlier = nullptr;
        std::vector<std::size_t> lines(blocks_.size());
        for (std::size_t row = first_; row < end_; ++row) {
            const Cell* left = nullptr;
            std::vector<int> cells(blocks_.size());
            for (const Cell& cell : rows_[row].cells) {
                if (!isShown(cell)) continue;
                const auto block = static_cast<std::size_t>(
                    std::find_if(blocks_.begin(), blocks_.end(),
                                 [&](const FreeBlock& own) { return cell.column < own.end; }) -
                    blocks_.begin());
                if (++cells[block] == 1) hasLines = ++lines[block] > 1 || hasLines;
                isCompound = isCompound || cells[block] > 1;
                hasPicture = hasPicture || isPicture(*cell.item);
                rowsAreEqual = rowsAreEqual && (left == nullptr || isEqualPrint(*left, cell));
                allAreEqual = allAreEqual && (earlier == nullptr || isEqualPrint(*earlier, cell));
                left = earlier = &cell;
            }
        }
        return hasLines && (areLabels_ || isCompound || hasPicture || (rowsAreEqual && !allAreEqual));
    }

    std::span<const CellRow> rows_;
    const CellGrid& grid_;
    bool areLabels_;
    std::vector<BlockRows> found_;
    // Of the rows since the last ones that were found.
    std::size_t first_ = 0, end_ = 0;
    std::size_t crossedTo_ = 0;  // the end of the rows that cells of earlier rows cover
    Covered covered_;
    std::vector<FreeBlock> blocks_;
};

}  // namespace

std::vector<BlockRows> findBlocks(std::span<const CellRow> rows, const CellGrid& grid, bool areLabels) {
    if (rows.size() < 2 || !rows.front().overlays.empty()) return {};
    return Finder(rows, grid, areLabels).find();
}

}  // namespace qbsvrl6

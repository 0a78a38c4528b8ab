// Blocks of free controls that are side by side, such as tiles: on a narrow screen, they are below one another.
#ifndef QBSVR_QBSVRL6_SHEET_TEXT_FREE_BLOCKS_H
#define QBSVR_QBSVRL6_SHEET_TEXT_FREE_BLOCKS_H

#include <cstddef>
#include <span>
#include <vector>

#include "qbsvrl6/sheet/grid/cell_grid.h"

namespace qbsvrl6 {

// Columns of cells, without the gap to the next block.
struct FreeBlock {
    int first = 0, end = 0;
};

// Neighbouring rows of a band that consist of the same blocks, at least two.
struct BlockRows {
    std::size_t first = 0, end = 0;
    std::vector<FreeBlock> blocks;  // from the left
};

// The rows in which a reader expects to read one block after the other: tiles with several lines, labels, an address
// beside a list. Two columns of captions and values are read row by row, and are no blocks.
std::vector<BlockRows> findBlocks(std::span<const CellRow> rows, const CellGrid& grid, bool areLabels);

}  // namespace qbsvrl6

#endif

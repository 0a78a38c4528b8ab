// The positions of the columns of a detail grid, which depend on how the grid adapts to its page.
#ifndef QBSVR_QBSVRL6_LAYOUT_GRID_GEOMETRY_H
#define QBSVR_QBSVRL6_LAYOUT_GRID_GEOMETRY_H

#include <optional>
#include <span>
#include <vector>

#include "qbsvrl6/bind/expression.h"
#include "qbsvrl6/model/report.h"
#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

struct PlacedColumn {
    Micrometres x = 0;  // from the grid's left edge
    Micrometres width = 0;
    int line = 0;            // in a wrapped row, from 0
    int columnGroup = 0;     // each has its own pages; kEveryColumnGroup: on the pages of all
    bool visible = true;     // false: left out
    bool discarded = false;  // left out because it does not fit
};

inline constexpr int kEveryColumnGroup = -1;

struct GridGeometry {
    std::vector<PlacedColumn> columns;  // one for each column of the grid
    int lines = 1;
    int columnGroups = 1;
    // All rows of one column group, then all rows of the next; false: page by page.
    bool columnGroupsInTurn = false;
    bool wrapGroups = false;  // group sections wrap with the columns
    double scale = 1;         // of fonts, paddings and heights
    std::int64_t needed = 0;  // the width of all columns before they were adapted
    Micrometres x = 0;        // of the grid in the available width
    Micrometres width = 0;    // of the widest line or column group

    Micrometres widthOf(int columnGroup) const;

    bool inColumnGroup(std::size_t column, int columnGroup) const {
        return columns[column].visible && (columns[column].columnGroup == columnGroup ||
                                           columns[column].columnGroup == kEveryColumnGroup);
    }
};

// A column that is laid out.
struct ShownColumn {
    const Column* column = nullptr;
    Micrometres width = 0;
    bool hidden = false;
    std::optional<KeyedRows> rows = {};  // of one that repeats: those of its value
};

// The columns of a grid's definition.
std::vector<ShownColumn> definedColumns(const DetailGrid& grid);

enum class GridSurroundings {
    Endless,  // the continuous layout: every column keeps its width beside the one before it
    Page,
    Box,  // a sub-report, or one of several columns of detail: columns wrap instead of continuing on further
          // pages
};

// `available` is the width between the margins, of one of the page's columns, or of the box. Raises
// EngineError(LimitExceeded) for a grid beyond limits::kBandMicrometres.
GridGeometry placeColumns(const DetailGrid& grid, std::span<const ShownColumn> columns, Micrometres available,
                          GridSurroundings surroundings);

// Width of one of the page's columns of detail.
Micrometres detailWidth(const PageSetup& page);
// Number of columns of detail: at least one, and no more than the page has space for.
int detailColumns(const PageSetup& page);
// Left edge of the last one, relative to the first.
Micrometres lastDetailColumn(const PageSetup& page);
Micrometres printableWidth(const PageSetup& page);  // between the margins

// Labels side by side in this width, and from the left edge of one to that of the next.
int labelColumns(const Labels& labels, Micrometres available);
Micrometres labelStep(const Labels& labels);

}  // namespace qbsvrl6

#endif

// The positions of the columns of a detail grid, by the way in which the grid adapts to its page.
#ifndef QBSVR_QBSVRL6_LAYOUT_GRID_GEOMETRY_H
#define QBSVR_QBSVRL6_LAYOUT_GRID_GEOMETRY_H

#include <vector>

#include "qbsvrl6/model/report.h"
#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

struct PlacedColumn {
    Micrometres x = 0;  // from the grid's left edge
    Micrometres width = 0;
    int line = 0;         // of the lines that a wrapped row has
    int set = 0;          // of the groups that have their own pages; kEverySet: on all of them
    bool visible = true;  // false: left out
};

inline constexpr int kEverySet = -1;

struct GridGeometry {
    std::vector<PlacedColumn> columns;  // one for each column of the grid
    int lines = 1;
    int sets = 1;
    bool setsFollowRows = false;  // all rows of one set, then all of the next; else page by page
    bool wrapGroups = false;      // group sections follow the lines of the columns
    double scale = 1;             // of fonts, paddings and heights
    Micrometres x = 0;            // of the grid in the available width
    Micrometres width = 0;        // of the widest line or set

    Micrometres widthOf(int set) const;

    bool inSet(std::size_t column, int set) const {
        return columns[column].visible && (columns[column].set == set || columns[column].set == kEverySet);
    }
};

enum class GridSurroundings {
    Endless,  // the continuous layout: every column keeps its width beside the one before it
    Page,
    Box,  // a sub-report, or one of several columns of detail: no pages to go on to, what would go there
          // wraps
};

// `available` is the width between the margins, of one of the page's columns, or of the box. Raises
// EngineError(LimitExceeded) for a grid beyond limits::kBandMicrometres.
GridGeometry placeColumns(const DetailGrid& grid, Micrometres available, GridSurroundings surroundings);

// Width of one of the page's columns of detail.
Micrometres detailWidth(const PageSetup& page);
// How many of them there are: at least one, and no more than have a width.
int detailColumns(const PageSetup& page);
// Where the last of them begins, from the first one.
Micrometres lastDetailColumn(const PageSetup& page);
Micrometres printableWidth(const PageSetup& page);  // between the margins

}  // namespace qbsvrl6

#endif

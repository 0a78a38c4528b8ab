// Converts lines, boxes and backgrounds of a band into borders and backgrounds of its cells.
#ifndef QBSVR_QBSVRL6_SHEET_GRID_CELL_BORDERS_H
#define QBSVR_QBSVRL6_SHEET_GRID_CELL_BORDERS_H

#include <optional>

#include "qbsvrl6/sheet/grid/cell_placement.h"

namespace qbsvrl6 {

enum class LineResult {
    Border,   // the line is the border of cells
    Overlay,  // it overlays the cells
    Lost,     // the cells cannot show it
};

// `x` is the band's position.
class CellBorders {
public:
    CellBorders(const GridColumns& columns, const GridRows& rows, CellPlacement& placement, GridFit fit)
        : columns_(columns), rows_(rows), placement_(placement), fit_(fit) {}

    void fillBackground(const Band& band, Micrometres x);
    LineResult drawLine(const Rect& box, const LineContent& line, Micrometres x);
    void drawBox(const Rect& box, const Border& border, const std::optional<Color>& fill, Micrometres x);

private:
    LineResult drawHorizontalLine(const Rect& box, const BorderLine& line, Micrometres x);
    void drawVerticalLine(const Rect& box, const BorderLine& line, Micrometres x);
    Region regionOf(const Rect& box, Micrometres x) const;

    const GridColumns& columns_;
    const GridRows& rows_;
    CellPlacement& placement_;
    GridFit fit_;
};

}  // namespace qbsvrl6

#endif

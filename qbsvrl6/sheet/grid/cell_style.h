// Looks of cells, each held once.
#ifndef QBSVR_QBSVRL6_SHEET_GRID_CELL_STYLE_H
#define QBSVR_QBSVRL6_SHEET_GRID_CELL_STYLE_H

#include <array>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "qbsvrl6/sheet/grid/cell_grid.h"

namespace qbsvrl6 {

struct CellStyle {
    std::u16string fontFamily;
    double fontSize = 10;  // points
    bool bold = false, italic = false, underline = false;
    Color color;
    std::optional<Color> background;
    Border border;
    HorizontalAlign align = HorizontalAlign::Left;
    VerticalAlign verticalAlign = VerticalAlign::Middle;
    int rotation = 0;  // degrees clockwise
    int indent = 0;    // steps of a spreadsheet's, from the side that the text is aligned to
    double lineSpacing = 1;
    Edges padding;
    bool wraps = false;
    bool isNumber = false;
    std::u16string numberFormat;  // empty: general
    bool operator==(const CellStyle&) const = default;
};

struct CellStyleHash {
    std::size_t operator()(const CellStyle& style) const;
};

// Whether the cell's text stands on several lines.
bool wraps(const Item& item);

// What a spreadsheet makes of a cell's value and place.
struct SheetLook {
    bool isNumber = false;
    std::u16string_view numberFormat;
    int indent = 0;
    std::optional<VerticalAlign> verticalAlign;  // instead of the style's
};

class StyleTable {
public:
    // The number of the cell's look, counted from 0 in the order of appearance.
    int idOf(const Cell& cell, const SheetLook& look = {});

    const std::vector<const CellStyle*>& styles() const { return styles_; }

private:
    // What a cell's look depends on. Rows repeat the looks of the row before, column by column, so that the
    // last answers stand in a small table by style and column.
    struct Key {
        const ResolvedStyle* style = nullptr;
        double fontSize = 0;
        Color color;
        std::optional<Color> background;
        Border border;
        bool wraps = false;
        bool isPadded = true;
        bool isNumber = false;
        int indent = 0;
        std::optional<VerticalAlign> verticalAlign;
        std::u16string numberFormat;
        bool operator==(const Key&) const = default;
    };
    struct Answer {
        Key key;
        int id = -1;
    };

    int idOf(CellStyle style);

    std::unordered_map<CellStyle, int, CellStyleHash> ids_;
    std::vector<const CellStyle*> styles_;  // keys of ids_
    std::array<Answer, 256> answers_;
};

}  // namespace qbsvrl6

#endif

// The styles of cells, each stored once.
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
    int indent = 0;    // in the steps of spreadsheets, from the side to which the text is aligned
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

// Whether the item's text has several lines.
bool wraps(const Item& item);

// The additions of a spreadsheet to a cell's style, which depend on the cell's value and position.
struct SheetFormat {
    bool isNumber = false;
    std::u16string_view numberFormat;
    int indent = 0;
    std::optional<VerticalAlign> verticalAlign;  // replaces the style's
    bool wraps = false;                          // also a text of a single line
    bool operator==(const SheetFormat&) const = default;
};

class StyleTable {
public:
    // The number of the cell's style, counted from 0 in the order of first use.
    int idOf(const Cell& cell, const SheetFormat& format = {});

    const std::vector<const CellStyle*>& styles() const { return styles_; }

private:
    // Everything that a cell's style depends on. It does not own the number format.
    struct Source {
        const ResolvedStyle* style = nullptr;
        double fontSize = 0;
        Color color;
        std::optional<Color> background;
        Border border;
        bool wraps = false;
        bool isPadded = true;
        SheetFormat format;
        bool operator==(const Source&) const = default;
    };
    // Most rows repeat the styles of the previous row, column by column, so a small table by style and column
    // caches the latest answers.
    struct Answer {
        Source source;
        int id = -1;
    };

    static Source sourceOf(const Cell& cell, const SheetFormat& format);
    static CellStyle styleOf(const Source& source);

    std::unordered_map<CellStyle, int, CellStyleHash> ids_;
    std::vector<const CellStyle*> styles_;            // keys of ids_
    std::array<std::array<Answer, 2>, 128> answers_;  // by the hash of their source, the latest first
};

}  // namespace qbsvrl6

#endif

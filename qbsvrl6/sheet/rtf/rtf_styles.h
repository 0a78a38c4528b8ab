// Cell styles as RTF, with the tables of fonts and colours that they refer to.
#ifndef QBSVR_QBSVRL6_SHEET_RTF_RTF_STYLES_H
#define QBSVR_QBSVRL6_SHEET_RTF_RTF_STYLES_H

#include <map>
#include <string>
#include <vector>

#include "qbsvrl6/sheet/grid/cell_style.h"
#include "qbsvrl6/sheet/rtf/rtf_text.h"

namespace qbsvrl6 {

class RtfStyles {
public:
    RtfStyles();

    // The control words before a cell's text.
    const std::string& paragraph(const Cell& cell) { return entries_[indexOf(cell)].paragraph; }
    // The font again: word processors store it separately for right-to-left text. Written after `paragraph`.
    const std::string& associated(const Cell& cell) { return entries_[indexOf(cell)].associated; }
    // The control words before the cell's right edge in the definition of its row.
    const std::string& frame(const Cell& cell) { return entries_[indexOf(cell)].frame; }

    // The tables, complete once all styles have been requested.
    void appendTables(std::string& out) const;

private:
    struct Words {
        std::string paragraph;
        std::string associated;
        std::string frame;
    };

    std::size_t indexOf(const Cell& cell);
    Words makeWords(const CellStyle& style);
    int fontOf(const std::u16string& family);
    int colorOf(const Color& color);
    void appendBorder(std::string& out, const char* side, const BorderLine& line);

    StyleTable styles_;
    std::vector<Words> entries_;  // by the style's number
    std::map<std::u16string, int> fonts_;
    std::vector<Color> colors_;  // numbered from 1; 0 is the reader's default
};

}  // namespace qbsvrl6

#endif

// Fonts, number formats, cell styles and the palette of an XLS workbook.
#ifndef QBSVR_QBSVRL6_SHEET_XLS_XLS_STYLES_H
#define QBSVR_QBSVRL6_SHEET_XLS_XLS_STYLES_H

#include <cstdint>
#include <string>
#include <vector>

#include "qbsvrl6/sheet/grid/cell_style.h"

namespace qbsvrl6 {

// The most cell styles in a workbook; the limit of the format is slightly higher.
inline constexpr int kXlsMaxStyles = 4'000;

// The number of our first style in the workbook; lower numbers are built in.
inline constexpr std::uint16_t kXlsFirstStyle = 16;
// The style of a cell without one.
inline constexpr std::uint16_t kXlsPlainStyle = 15;

// Appends FONT, FORMAT, XF, STYLE and PALETTE records to `out`; style i has the number kXlsFirstStyle + i.
// The first 56 colours are exact; further ones become the nearest of these.
void writeXlsStyles(std::string& out, const std::vector<const CellStyle*>& styles);

}  // namespace qbsvrl6

#endif

// Values and rules of style sheets.
#ifndef QBSVR_QBSVRL6_SHEET_TEXT_CSS_H
#define QBSVR_QBSVRL6_SHEET_TEXT_CSS_H

#include <string>
#include <string_view>

#include "qbsvrl6/items/item.h"
#include "qbsvrl6/sheet/grid/cell_style.h"

namespace qbsvrl6 {

inline constexpr int kCssDecimals = 3;

// Rounded to hundredths of a millimetre, finer than any screen.
double inMillimetres(Micrometres length);
// "12.3mm"
void appendMillimetres(std::string& out, Micrometres length);
// Appends the content of a quoted string, with each character as its code.
void appendCssText(std::string& out, std::u16string_view text);
// Appends the font family, followed by a generic one. Leaves out the characters of its name that could end a
// value or an attribute.
void appendFontFamily(std::string& out, std::u16string_view family);

// Appends the picture as an address that holds its bytes.
void appendDataAddress(std::string& out, const Picture& picture);

// The declarations of a cell's style.
void appendDeclarations(std::string& out, const CellStyle& style);

}  // namespace qbsvrl6

#endif

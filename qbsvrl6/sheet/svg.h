// Drawings and pictures as SVG inside a page of HTML.
#ifndef QBSVR_QBSVRL6_SHEET_SVG_H
#define QBSVR_QBSVRL6_SHEET_SVG_H

#include <string>
#include <string_view>

#include "qbsvrl6/layout/items.h"

namespace qbsvrl6 {

// A drawing as an <svg> element of the given size.
void appendSvg(std::string& out, const Drawing& drawing, Size size, std::u16string_view alternateText);

// A picture as an <svg> element placed in its cell. The first time its bytes are written, as a data URI;
// later elements refer to that one by the picture's id.
void appendPicture(std::string& out, const PictureItem& item, bool isFirst);

}  // namespace qbsvrl6

#endif

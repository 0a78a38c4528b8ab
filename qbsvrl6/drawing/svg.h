// A vector drawing as SVG 1.1 text.
#ifndef QBSVR_QBSVRL6_DRAWING_SVG_H
#define QBSVR_QBSVRL6_DRAWING_SVG_H

#include <string>

#include "qbsvrl6/items/drawing.h"

namespace qbsvrl6 {

// One <svg> element (UTF-8, no XML declaration) whose picture is `box` wide and high; its user unit is 0.1
// mm. `alternateText` becomes its title for readers that can't see it; empty: none. The same drawing gives
// the same text.
std::string toSvg(const Drawing& drawing, Size box, std::u16string_view alternateText = {});

// Ends the opening tag of an <svg>: `alternateText` is what is read aloud in its place; without one it is
// passed over.
void endSvgTag(std::string& out, std::u16string_view alternateText);

// The same as an element of an HTML page, which wants lengths in a style.
std::string toInlineSvg(const Drawing& drawing, Size box, std::u16string_view alternateText);

}  // namespace qbsvrl6

#endif

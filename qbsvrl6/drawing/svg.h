// A vector drawing as SVG 1.1 text.
#ifndef QBSVR_QBSVRL6_DRAWING_SVG_H
#define QBSVR_QBSVRL6_DRAWING_SVG_H

#include <string>

#include "qbsvrl6/items/drawing.h"
#include "qbsvrl6/support/xml_writer.h"

namespace qbsvrl6 {

// One <svg> element (UTF-8, no XML declaration) of the size of `box`; its user unit is 0.1 mm.
// `alternateText` becomes its title, for screen readers; empty: none. The same drawing gives the same text.
std::string toSvg(const Drawing& drawing, Size box, std::u16string_view alternateText = {});

// The same as an element of an HTML page, which requires lengths in a style.
void writeInlineSvg(XmlWriter& html, const Drawing& drawing, Size box, std::u16string_view alternateText);

// Writes the text that screen readers read instead of the <svg>, whose start tag is still open. Without a
// text, they skip the drawing.
void writeAlternateText(XmlWriter& svg, std::u16string_view alternateText);

}  // namespace qbsvrl6

#endif

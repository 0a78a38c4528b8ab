// Escaping of text for XML and HTML.
#ifndef QBSVR_COMMON_MARKUP_H
#define QBSVR_COMMON_MARKUP_H

#include "common/text.h"

namespace larkspur {

// Whether the text contains one of " & < > or, for HTML, a space. False for null text or a size below 1.
bool XmlHasSpecialChar(const lkchar* text, int size);
bool HtmlHasSpecialChar(const lkchar* text, int size);

// Replace these characters by &quot; &amp; &lt; &gt; and, for HTML, &nbsp;. The apostrophe is not replaced.
lkstr XmlEncode(const lkchar* text, int size);
lkstr HtmlEncode(const lkchar* text, int size);

// Always false: every value is decoded in the same way, with or without an "&".
bool XML_ValueHasSpecialChar(const lkchar* text);

// Decodes a single entity (amp, lt, gt, apos or quot) at the end of the text. An "&" followed by anything
// else, including an entity followed by more text, raises type 9; the hint is the text from the "&" on.
lkstr XML_DecodeValue(const lkchar* text);

// Whether every unit is an ASCII letter or digit, "-", ".", "_", unit 183 or above 192, and the first is not
// a digit, "-" or ".". False for null, true for the empty name.
bool XmlCheckNodeName(const lkchar* name);

}  // namespace larkspur

#endif

// Escaping of text for XML and HTML.
#ifndef QBSVR_COMMON_MARKUP_H
#define QBSVR_COMMON_MARKUP_H

#include "common/text.h"

namespace larkspur {

// The text holds one of " & < >, for HTML also the space. Null text and a size below 1 hold none.
bool XmlHasSpecialChar(const lkchar* text, int size);
bool HtmlHasSpecialChar(const lkchar* text, int size);

// Replace those by &quot; &amp; &lt; &gt; and, for HTML, the space by &nbsp;. The apostrophe stays.
lkstr XmlEncode(const lkchar* text, int size);
lkstr HtmlEncode(const lkchar* text, int size);

// Always false: every value is decoded the same way, whether it holds an "&" or not.
bool XML_ValueHasSpecialChar(const lkchar* text);

// Decodes one entity, amp lt gt apos or quot, at the end of the text. An "&" with anything else after it, an
// entity with text after it too, raises type 9 with the text from the "&" on as hint.
lkstr XML_DecodeValue(const lkchar* text);

// Every unit is an ASCII letter or digit, - . _, unit 183 or above 192, and the first no digit, - or dot.
// False for null, true for the empty name.
bool XmlCheckNodeName(const lkchar* name);

}  // namespace larkspur

#endif

// JSON as bare 16-bit text, with no tree: escapes, single values, and where a JSON text ends.
//
// The dialect has five escapes: \" \\ \n \r \t. All other units stand as they are. Space is TAB, LF, CR and
// space. Commas may be left out or trail; a bare literal is any run of units up to space, ",", "]" or "}".
#ifndef QBSVR_JSON_JSON_TEXT_H
#define QBSVR_JSON_JSON_TEXT_H

#include "common/text.h"

namespace larkspur {

bool JSON_IsSpaceChar(lkchar c);

// The text holds a unit that is written as an escape. Null and empty text hold none.
bool JSON_HasSpecialChar(const lkchar* text);

// The text holds a quote, a backslash or one of the letters n, r, t: a wide net for "may need JSON_Decode",
// which leaves text with no backslash as it is.
bool JSON_HasEscapeChar(const lkchar* text);

// An object, judged by its ends alone: after leading space "{", before trailing space "}". A null text and a
// count below 1 are none. Wide units are tested as space by their low 16 bits.
bool JSON_TextIsJson(const char* text, int n);
bool JSON_TextIsJson(const wchar_t* text, int n);
bool JSON_TextIsJson(const lkchar* text, int n);

// The value as JSON text: "%d", true or false, "%f".
lkstr JSON_EncodeValue(int value);
lkstr JSON_EncodeValue(bool value);
lkstr JSON_EncodeValue(double value);

// The text in quotes with its escapes. A zero unit after the opening quote counts in the length: some
// readers expect that form. ClkJsonAtomNode writes strings without it.
lkstr JSON_EncodeValue(const lkchar* text);
lkstr JSON_EncodeValue(const char* text);

// The text with the escapes put in, without quotes.
lkstr JSON_Encode(const lkchar* text);

// Decodes the escapes of exactly n units. A backslash with any other unit after it is dropped together
// with that unit, and so is a backslash at the end.
lkstr JSON_Decode(const lkchar* text, int n);

// The position after the bracket that closes the object or array at the start of the text, after leading
// space; null when there is none or its content is not JSON. Nesting is bounded by memory only.
const lkchar* FindJsonTextEnd(const lkchar* text, int n);
const lkchar* FindJsonObjectTextEnd(const lkchar* text, int n);
const lkchar* FindJsonArrayTextEnd(const lkchar* text, int n);

// The same from the opening bracket on.
const lkchar* DoFindJsonObjectTextEnd(const lkchar* p, const lkchar* end);
const lkchar* DoFindJsonArrayTextEnd(const lkchar* p, const lkchar* end);

// The position after a string or literal. A value that runs up to end has no end and gives null.
const lkchar* DoFindJsonAtomValueTextEnd(const lkchar* p, const lkchar* end);

}  // namespace larkspur

#endif

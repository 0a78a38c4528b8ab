// JSON as 16-bit text, without a tree: escapes, single values, and finding the end of a JSON text.
//
// The dialect has five escapes: \" \\ \n \r \t. All other units represent themselves. White space is TAB, LF,
// CR and space. Commas may be omitted or trailing; a bare literal is any run of units up to white space, ",",
// "]" or "}".
#ifndef QBSVR_JSON_JSON_TEXT_H
#define QBSVR_JSON_JSON_TEXT_H

#include "common/text.h"

namespace larkspur {

bool JSON_IsSpaceChar(lkchar c);

// Whether the text has a unit that must be escaped. False for null and empty text.
bool JSON_HasSpecialChar(const lkchar* text);

// Whether the text has a quote, a backslash or one of the letters n, r, t: a coarse test for "may need
// JSON_Decode", which does not change text without a backslash.
bool JSON_HasEscapeChar(const lkchar* text);

// Whether the text looks like an object: it starts with "{" and ends with "}", apart from white space. False
// for null text and a count below 1. For white space, only the low 16 bits of wide units are tested.
bool JSON_TextIsJson(const char* text, int n);
bool JSON_TextIsJson(const wchar_t* text, int n);
bool JSON_TextIsJson(const lkchar* text, int n);

// The value as JSON text: "%d", true or false, "%f".
lkstr JSON_EncodeValue(int value);
lkstr JSON_EncodeValue(bool value);
lkstr JSON_EncodeValue(double value);

// The text in quotes, escaped. The result has a zero unit after the opening quote, which some readers expect;
// its length includes it. ClkJsonAtomNode writes strings without it.
lkstr JSON_EncodeValue(const lkchar* text);
lkstr JSON_EncodeValue(const char* text);

// The escaped text, without quotes.
lkstr JSON_Encode(const lkchar* text);

// Decodes the escapes in exactly n units. A backslash before any other unit is dropped together with that
// unit, as is a backslash at the end.
lkstr JSON_Decode(const lkchar* text, int n);

// The position after the object or array at the start of the text, which white space may precede; null if
// there is none or its content is not JSON. Only memory limits the nesting.
const lkchar* FindJsonTextEnd(const lkchar* text, int n);
const lkchar* FindJsonObjectTextEnd(const lkchar* text, int n);
const lkchar* FindJsonArrayTextEnd(const lkchar* text, int n);

// The same, with the opening bracket at p.
const lkchar* DoFindJsonObjectTextEnd(const lkchar* p, const lkchar* end);
const lkchar* DoFindJsonArrayTextEnd(const lkchar* p, const lkchar* end);

// The position after a string or literal. A value that extends to `end` is incomplete and gives null.
const lkchar* DoFindJsonAtomValueTextEnd(const lkchar* p, const lkchar* end);

}  // namespace larkspur

#endif

// Appends UTF-16 text as UTF-8, and escapes the characters that a format cannot contain.
#ifndef QBSVR_QBSVRL6_SHEET_ESCAPE_H
#define QBSVR_QBSVRL6_SHEET_ESCAPE_H

#include <string>
#include <string_view>

namespace qbsvrl6 {

// Lone surrogates become U+FFFD.
void appendUtf8(std::string& out, std::u16string_view text);

// Control characters, which would move a terminal's cursor, become spaces.
void appendPrintable(std::string& out, std::u16string_view text);

// Appends text or the value of a quoted attribute of HTML or XML. Every line end becomes one line feed; other
// control characters except tabs become U+FFFD.
void appendMarkup(std::string& out, std::u16string_view text);

// Appends a text of a spreadsheet package (ST_Xstring): control characters become "_x0001_", and text that
// already has this form is escaped. Line ends as above.
void appendXstring(std::string& out, std::u16string_view text);

// The text for formats that store UTF-16: every line end becomes one line feed; lone surrogates, U+FFFE and
// U+FFFF become U+FFFD. Returns `text` itself if nothing changes, otherwise `buffer`.
std::u16string_view cleanText(std::u16string_view text, std::u16string& buffer);

}  // namespace qbsvrl6

#endif

// UTF-16 appended as UTF-8, with the characters that a format can't hold as they are written in its way.
#ifndef QBSVR_QBSVRL6_SHEET_ESCAPE_H
#define QBSVR_QBSVRL6_SHEET_ESCAPE_H

#include <string>
#include <string_view>

namespace qbsvrl6 {

// Lone surrogates become U+FFFD.
void appendUtf8(std::string& out, std::u16string_view text);

// Control characters, which would move a terminal's cursor, become blanks.
void appendPrintable(std::string& out, std::u16string_view text);

// Text or a quoted attribute of HTML or XML. A line end is one line feed, however it was written; other
// control characters but the tab become U+FFFD.
void appendMarkup(std::string& out, std::u16string_view text);

// A text of a spreadsheet package (ST_Xstring): control characters become "_x0001_", and what a text holds in
// that form already is escaped; line ends as above.
void appendXstring(std::string& out, std::u16string_view text);

// The text for formats that hold UTF-16 as it is: a line end is one line feed, lone surrogates and U+FFFE,
// U+FFFF become U+FFFD. Shows `text` itself where that changes nothing, else `buffer`.
std::u16string_view cleanText(std::u16string_view text, std::u16string& buffer);

// Whether an address that came with data may be a link of a document: nothing that runs where it is opened,
// and no control characters.
bool isSafeLink(std::u16string_view link);

}  // namespace qbsvrl6

#endif

// Texts as RTF: escaped, so that they contain no control words, and with their direction.
#ifndef QBSVR_QBSVRL6_SHEET_RTF_RTF_TEXT_H
#define QBSVR_QBSVRL6_SHEET_RTF_RTF_TEXT_H

#include <span>
#include <string>
#include <string_view>

#include "qbsvrl6/items/item.h"
#include "qbsvrl6/sheet/document/twips.h"

namespace qbsvrl6 {

// Appends a control word and its number: "\\fs20".
void appendCommand(std::string& out, const char* command, int value);

// Line ends become `lineEnd`: a line break in the same paragraph, or a new paragraph in justified text, whose
// lines would be stretched before a line break.
constexpr const char* kLineBreak = "\\line ";
constexpr const char* kParagraph = "\\par ";
void appendRtf(std::string& out, std::u16string_view text, const char* lineEnd = kLineBreak);

// Appends the text of an item, with fields for the numbers that the word processor counts. If it has
// right-to-left text, each line becomes a paragraph with its own direction, and its runs are marked, because
// word processors follow the marks.
void appendItemText(std::string& out, const Item& item, std::span<const PageField> fields = {});

}  // namespace qbsvrl6

#endif

// Texts in RTF: nothing in them is a control word, and each runs in its direction.
#ifndef QBSVR_QBSVRL6_SHEET_RTF_RTF_TEXT_H
#define QBSVR_QBSVRL6_SHEET_RTF_RTF_TEXT_H

#include <span>
#include <string>
#include <string_view>

#include "qbsvrl6/items/item.h"

namespace qbsvrl6 {

// A length in twips, the unit of RTF.
int twips(Micrometres length);

// A command and its number: "\\fs20".
void appendCommand(std::string& out, const char* command, int value);

// Line ends become `lineEnd`: line breaks of the same paragraph, or new paragraphs where a justified line
// would be stretched before a break.
constexpr const char* kLineBreak = "\\line ";
constexpr const char* kParagraph = "\\par ";
void appendRtf(std::string& out, std::u16string_view text, const char* lineEnd = kLineBreak);

// What an item reads, with fields that the word processor counts. Where text runs from right to left, each
// line is a paragraph of its direction, and its runs are marked: word processors follow the marks.
void appendItemText(std::string& out, const Item& item, std::span<const PageField> fields = {});

}  // namespace qbsvrl6

#endif

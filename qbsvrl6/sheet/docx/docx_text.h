// Texts as paragraphs and runs of WordprocessingML.
#ifndef QBSVR_QBSVRL6_SHEET_DOCX_DOCX_TEXT_H
#define QBSVR_QBSVRL6_SHEET_DOCX_DOCX_TEXT_H

#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "qbsvrl6/items/item.h"
#include "qbsvrl6/sheet/document/twips.h"

namespace qbsvrl6 {

// The properties of one text, as XML, in the parts between which a text has its own.
struct DocxTextForm {
    std::string paragraphStart;  // of a paragraph, before its direction
    std::string paragraphEnd;    // after its alignment
    std::string spacing;         // between them
    HorizontalAlign align = HorizontalAlign::Left;
    bool hasAlign = false;  // differs from that of the paragraph's style
    std::string run;        // of a run, before its direction
    std::string language;   // after its direction
};

// Appends the text of an item as paragraphs. Numbers that the word processor counts become fields. `before`
// and `after` are put around the runs of each paragraph: the tags of a link.
struct DocxTextFrame {
    std::string_view first;  // before the runs of the first paragraph: a bookmark
    std::string_view before;
    std::string_view after;
};
void appendParagraphs(std::string& out, const Item& item, std::span<const PageField> fields,
                      const DocxTextForm& form, const DocxTextFrame& frame);

// The name of a bookmark in the document: at most 40 letters, digits and low lines.
std::string bookmarkName(std::u16string_view name);

}  // namespace qbsvrl6

#endif

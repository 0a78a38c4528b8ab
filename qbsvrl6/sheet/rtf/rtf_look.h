// Texts and looks in RTF, with the tables of fonts and colours that they refer to.
#ifndef QBSVR_QBSVRL6_SHEET_RTF_RTF_LOOK_H
#define QBSVR_QBSVRL6_SHEET_RTF_RTF_LOOK_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/sheet/grid/cell_style.h"

namespace qbsvrl6 {

// A length in twips, the unit of RTF.
int twips(Micrometres length);

// Text in which nothing is a control word. Line ends become `lineEnd`: line breaks of the same paragraph, or
// new paragraphs where a justified line would be stretched ahead of a break.
constexpr const char* kLineBreak = "\\line ";
constexpr const char* kParagraph = "\\par ";
void appendRtf(std::string& out, std::u16string_view text, const char* lineEnd = kLineBreak);

// A command and its number: "\fs20".
void appendCommand(std::string& out, const char* command, int value);

class RtfLooks {
public:
    RtfLooks();

    // What stands ahead of a cell's text.
    const std::string& paragraph(const Cell& cell) { return looks_[lookOf(cell)].paragraph; }
    // What stands ahead of the cell's right edge in the definition of its row.
    const std::string& frame(const Cell& cell) { return looks_[lookOf(cell)].frame; }

    // The tables, complete once all looks have been asked for.
    void appendTables(std::string& out) const;

private:
    struct Look {
        std::string paragraph;
        std::string frame;
    };

    std::size_t lookOf(const Cell& cell);
    Look makeLook(const CellStyle& style);
    int fontOf(const std::u16string& family);
    int colorOf(const Color& color);
    void appendBorder(std::string& out, const char* side, const BorderLine& line);

    StyleTable styles_;
    std::vector<Look> looks_;  // by the style's number
    std::map<std::u16string, int> fonts_;
    std::vector<Color> colors_;  // from number 1 on; 0 is the reader's own
};

}  // namespace qbsvrl6

#endif

#include "qbsvrl6/sheet/docx/docx_text.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "qbsvrl6/fonts/bidi.h"
#include "qbsvrl6/sheet/grid/cell.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/support/xml_writer.h"

namespace qbsvrl6 {

namespace {

// One paragraph of a text.
class ParagraphWriter {
public:
    ParagraphWriter(std::string& out, std::u16string_view text, std::span<const PageField> fields,
                    const DocxTextForm& form)
        : out_(out), text_(text), fields_(fields), form_(form) {}

    void write(std::size_t from, std::size_t to, const DocxTextFrame& frame, bool isFirst) {
        const std::u16string_view paragraph = text_.substr(from, to - from);
        const bool mayTurn = mayRunRightToLeft(paragraph);
        const BaseDirection direction = mayTurn ? directionOf(paragraph) : BaseDirection::LeftToRight;
        open(direction);
        if (isFirst) out_ += frame.first;
        out_ += frame.before;
        if (mayTurn) {
            writeRuns(from, embeddingLevels(paragraph, direction));
        } else {
            writeFields(from, to, false);
        }
        out_ += frame.after;
        out_ += "</w:p>";
    }

private:
    // In a paragraph from right to left, "left" is the side where its lines begin.
    void open(BaseDirection direction) {
        const bool isTurned = direction == BaseDirection::RightToLeft;
        out_ += "<w:p><w:pPr>";
        out_ += form_.paragraphStart;
        if (isTurned) out_ += "<w:bidi/>";
        out_ += form_.spacing;
        if (form_.hasAlign || isTurned) {
            constexpr const char* kAligns[] = {"left", "center", "right", "both"};
            HorizontalAlign align = form_.align;
            if (isTurned && align == HorizontalAlign::Left) {
                align = HorizontalAlign::Right;
            } else if (isTurned && align == HorizontalAlign::Right) {
                align = HorizontalAlign::Left;
            }
            out_ += "<w:jc w:val=\"";
            out_ += kAligns[static_cast<std::size_t>(align)];
            out_ += "\"/>";
        }
        out_ += form_.paragraphEnd;
        out_ += "</w:pPr>";
    }

    void writeRuns(std::size_t from, const std::vector<std::uint8_t>& levels) {
        for (std::size_t start = 0; start < levels.size();) {
            const bool isTurned = levels[start] % 2 != 0;
            std::size_t end = start + 1;
            while (end < levels.size() && (levels[end] % 2 != 0) == isTurned) ++end;
            writeFields(from + start, from + end, isTurned);
            start = end;
        }
    }

    // Numbers that are not wholly within the part do not become fields.
    void writeFields(std::size_t from, std::size_t to, bool isTurned) {
        for (const PageField& field : fields_) {
            if (field.start < from || field.end() > to) continue;
            writeRun(text_.substr(from, field.start - from), isTurned);
            out_ += field.kind == PageField::Kind::Number ? "<w:fldSimple w:instr=\" PAGE \">"
                                                          : "<w:fldSimple w:instr=\" NUMPAGES \">";
            writeRun(text_.substr(field.start, field.length), isTurned);
            out_ += "</w:fldSimple>";
            from = field.end();
        }
        writeRun(text_.substr(from, to - from), isTurned);
    }

    void writeRun(std::u16string_view text, bool isTurned) {
        if (text.empty()) return;
        out_ += "<w:r>";
        if (!form_.run.empty() || !form_.language.empty() || isTurned) {
            out_ += "<w:rPr>";
            out_ += form_.run;
            if (isTurned) out_ += "<w:rtl/>";
            out_ += form_.language;
            out_ += "</w:rPr>";
        }
        while (!text.empty()) {
            const std::size_t end = std::min(text.find_first_of(u"\r\n\t"), text.size());
            if (end > 0) {
                out_ += "<w:t xml:space=\"preserve\">";
                appendXmlText(out_, text.substr(0, end));
                out_ += "</w:t>";
            }
            if (end == text.size()) break;
            out_ += text[end] == u'\t' ? "<w:tab/>" : "<w:br/>";
            text.remove_prefix(end + (text.substr(end).starts_with(u"\r\n") ? 2 : 1));
        }
        out_ += "</w:r>";
    }

    std::string& out_;
    std::u16string_view text_;
    std::span<const PageField> fields_;
    const DocxTextForm& form_;
};

}  // namespace

// The lines of a justified text would be stretched before a line break, and those of a text with both
// directions may each have their own: they are paragraphs.
void appendParagraphs(std::string& out, const Item& item, std::span<const PageField> fields,
                      const DocxTextForm& form, const DocxTextFrame& frame) {
    const std::u16string_view text = textOf(item);
    ParagraphWriter writer(out, text, fields, form);
    if (form.align != HorizontalAlign::Justify && !mayRunRightToLeft(text)) {
        writer.write(0, text.size(), frame, true);
        return;
    }
    for (std::size_t from = 0;;) {
        const std::size_t to = std::min(text.find_first_of(u"\r\n", from), text.size());
        writer.write(from, to, frame, from == 0);
        if (to == text.size()) return;
        from = to + (text.substr(to).starts_with(u"\r\n") ? 2 : 1);
    }
}

std::string bookmarkName(std::u16string_view name) {
    constexpr std::size_t kLongest = 40;
    std::u16string legal = u"_";
    for (const char16_t unit : name) {
        if (legal.size() == kLongest) break;
        const bool isWord = isDigit(unit) || isLatinLetter(unit) ||
                            (unit >= 0xC0 && unit < 0xD800 && (unit < 0x2000 || unit >= 0x3040));
        legal += isWord ? unit : u'_';
    }
    return toUtf8(legal);
}

}  // namespace qbsvrl6

// A character outside ASCII is written as "\\uN\\'3f": N is its UTF-16 unit as a signed number, and 3f, the
// code of the question mark, is for readers that don't know it. Some readers would skip a plain "?" together
// with the word after it.
#include "qbsvrl6/sheet/rtf/rtf_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <vector>

#include "qbsvrl6/fonts/bidi.h"
#include "qbsvrl6/sheet/escape.h"
#include "qbsvrl6/sheet/grid/cell_grid.h"

namespace qbsvrl6 {

namespace {

const char* lineEndOf(const Item& item) {
    const bool justified = item.style != nullptr && item.style->align == HorizontalAlign::Justify;
    return justified ? kParagraph : kLineBreak;
}

// Appends the text from `from` to `to`. Numbers that are not wholly within it do not become fields.
void appendPart(std::string& out, std::u16string_view text, std::size_t from, std::size_t to,
                std::span<const PageField> fields, const char* lineEnd) {
    for (const PageField& field : fields) {
        if (field.start < from || field.end() > to) continue;
        appendRtf(out, text.substr(from, field.start - from), lineEnd);
        out += field.kind == PageField::Kind::Number ? "{\\field{\\*\\fldinst{ PAGE }}{\\fldrslt{"
                                                     : "{\\field{\\*\\fldinst{ NUMPAGES }}{\\fldrslt{";
        appendRtf(out, text.substr(field.start, field.length));
        out += "}}}";
        from = field.end();
    }
    appendRtf(out, text.substr(from, to - from), lineEnd);
}

void appendParagraph(std::string& out, std::u16string_view text, std::size_t from, std::size_t to,
                     std::span<const PageField> fields) {
    const std::u16string_view paragraph = text.substr(from, to - from);
    const BaseDirection direction = directionOf(paragraph);
    out += direction == BaseDirection::RightToLeft ? "\\rtlpar" : "\\ltrpar";
    const std::vector<std::uint8_t> levels = embeddingLevels(paragraph, direction);
    for (std::size_t start = 0; start < levels.size();) {
        const bool rightToLeft = levels[start] % 2 != 0;
        std::size_t end = start + 1;
        while (end < levels.size() && (levels[end] % 2 != 0) == rightToLeft) ++end;
        out += rightToLeft ? "{\\rtlch " : "{\\ltrch ";
        appendPart(out, text, from + start, from + end, fields, kLineBreak);
        out += '}';
        start = end;
    }
}

}  // namespace

void appendCommand(std::string& out, const char* command, int value) {
    std::array<char, 16> digits;
    out += command;
    out.append(digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr);
}

void appendRtf(std::string& out, std::u16string_view text, const char* lineEnd) {
    std::u16string buffer;
    for (const char16_t unit : cleanText(text, buffer)) {
        if (unit == u'\\' || unit == u'{' || unit == u'}') {
            out += '\\';
            out += static_cast<char>(unit);
        } else if (unit >= 0x20 && unit < 0x7F) {
            out += static_cast<char>(unit);
        } else if (unit == u'\n') {
            out += lineEnd;
        } else if (unit == u'\t') {
            out += "\\tab ";
        } else {
            const bool isControl = unit < 0x20 || unit == 0x7F;
            appendCommand(out, "\\u", isControl ? -3 : static_cast<std::int16_t>(unit));
            out += "\\'3f";
        }
    }
}

void appendItemText(std::string& out, const Item& item, std::span<const PageField> fields) {
    const std::u16string_view text = textOf(item);
    if (!mayRunRightToLeft(text)) {
        appendPart(out, text, 0, text.size(), fields, lineEndOf(item));
        return;
    }
    for (std::size_t from = 0;;) {
        const std::size_t to = std::min(text.find_first_of(u"\r\n", from), text.size());
        appendParagraph(out, text, from, to, fields);
        if (to == text.size()) return;
        out += kParagraph;
        from = to + (text.substr(to).starts_with(u"\r\n") ? 2 : 1);
    }
}

}  // namespace qbsvrl6

#include "qbsvrl6/sheet/rtf/rtf_styles.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "qbsvrl6/fonts/aliases.h"
#include "qbsvrl6/sheet/workbook/sheet_value.h"

namespace qbsvrl6 {

namespace {

bool isChinese(FamilyKind kind) {
    return kind == FamilyKind::Song || kind == FamilyKind::FangSong || kind == FamilyKind::Kai ||
           kind == FamilyKind::Hei;
}

}  // namespace

RtfStyles::RtfStyles() { fontOf(u"SimSun"); }

std::size_t RtfStyles::indexOf(const Cell& cell) {
    const auto number = static_cast<std::size_t>(styles_.idOf(cell));
    while (entries_.size() <= number) entries_.push_back(makeWords(*styles_.styles()[entries_.size()]));
    return number;
}

int RtfStyles::fontOf(const std::u16string& family) {
    return fonts_.try_emplace(family, static_cast<int>(fonts_.size())).first->second;
}

int RtfStyles::colorOf(const Color& color) {
    const auto known = std::find(colors_.begin(), colors_.end(), color);
    if (known != colors_.end()) return static_cast<int>(known - colors_.begin()) + 1;
    colors_.push_back(color);
    return static_cast<int>(colors_.size());
}

void RtfStyles::appendBorder(std::string& out, const char* side, const BorderLine& line) {
    if (line.width <= 0) return;
    constexpr int kMaxWidth = 75;  // twips
    out += side;
    appendCommand(out, "\\brdrs\\brdrw", std::clamp(twips(line.width), 1, kMaxWidth));
    appendCommand(out, "\\brdrcf", colorOf(line.color));
}

RtfStyles::Words RtfStyles::makeWords(const CellStyle& style) {
    constexpr std::array kAligns = {"\\ql", "\\qc", "\\qr", "\\qj"};
    constexpr std::array kVerticals = {"\\clvertalt", "\\clvertalc", "\\clvertalb"};
    Words words;
    std::string& paragraph = words.paragraph;
    paragraph = "\\pard\\plain\\intbl";
    paragraph += kAligns[static_cast<std::size_t>(style.align)];
    appendCommand(paragraph, "\\li", twips(std::max(style.padding.left, 0)));
    appendCommand(paragraph, "\\ri", twips(std::max(style.padding.right, 0)));
    if (style.lineSpacing != 1) {
        const double lines = std::isfinite(style.lineSpacing) ? std::clamp(style.lineSpacing, 0.1, 10.0) : 1;
        appendCommand(paragraph, "\\sl", static_cast<int>(std::lround(240 * lines)));
        paragraph += "\\slmult1";
    }
    const int font = fontOf(style.fontFamily);
    const auto size = static_cast<int>(std::lround(2 * std::clamp(style.fontSize, 1.0, 1600.0)));
    appendCommand(paragraph, "\\f", font);
    appendCommand(paragraph, "\\fs", size);
    if (style.bold) paragraph += "\\b";
    if (style.italic) paragraph += "\\i";
    if (style.underline) paragraph += "\\ul";
    appendCommand(paragraph, "\\cf", colorOf(style.color));
    paragraph += ' ';

    appendCommand(words.associated, "\\af", font);
    appendCommand(words.associated, "\\afs", size);
    if (style.bold) words.associated += "\\ab";
    if (style.italic) words.associated += "\\ai";
    words.associated += ' ';

    words.frame = kVerticals[static_cast<std::size_t>(style.verticalAlign)];
    if (style.rotation == 90) words.frame += "\\cltxtbrl";
    if (style.rotation == 270) words.frame += "\\cltxbtlr";
    appendBorder(words.frame, "\\clbrdrt", style.border.top);
    appendBorder(words.frame, "\\clbrdrl", style.border.left);
    appendBorder(words.frame, "\\clbrdrb", style.border.bottom);
    appendBorder(words.frame, "\\clbrdrr", style.border.right);
    if (style.background) appendCommand(words.frame, "\\clcbpat", colorOf(*style.background));
    return words;
}

void RtfStyles::appendTables(std::string& out) const {
    out += "{\\fonttbl";
    for (const auto& [family, number] : fonts_) {
        const FamilyKind kind = familyKind(foldFamily(family));
        const std::string_view generic = genericFamily(kind);
        appendCommand(out, "{\\f", number);
        out += generic == "serif" ? "\\froman" : generic == "monospace" ? "\\fmodern" : "\\fswiss";
        if (isChinese(kind)) out += "\\fcharset134";
        out += ' ';
        // A semicolon would end the name.
        std::u16string name;
        std::copy_if(family.begin(), family.end(), std::back_inserter(name),
                     [](char16_t unit) { return unit >= 0x20 && unit != u';'; });
        appendRtf(out, name);
        out += ";}";
    }
    out += "}\n{\\colortbl;";
    for (const Color& color : colors_) {
        appendCommand(out, "\\red", color.red);
        appendCommand(out, "\\green", color.green);
        appendCommand(out, "\\blue", color.blue);
        out += ';';
    }
    out += "}\n";
}

}  // namespace qbsvrl6

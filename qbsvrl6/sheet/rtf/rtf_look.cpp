#include "qbsvrl6/sheet/rtf/rtf_look.h"

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

RtfLooks::RtfLooks() { fontOf(u"SimSun"); }

std::size_t RtfLooks::lookOf(const Cell& cell) {
    const auto number = static_cast<std::size_t>(styles_.idOf(cell));
    while (looks_.size() <= number) looks_.push_back(makeLook(*styles_.styles()[looks_.size()]));
    return number;
}

int RtfLooks::fontOf(const std::u16string& family) {
    return fonts_.try_emplace(family, static_cast<int>(fonts_.size())).first->second;
}

int RtfLooks::colorOf(const Color& color) {
    const auto known = std::find(colors_.begin(), colors_.end(), color);
    if (known != colors_.end()) return static_cast<int>(known - colors_.begin()) + 1;
    colors_.push_back(color);
    return static_cast<int>(colors_.size());
}

void RtfLooks::appendBorder(std::string& out, const char* side, const BorderLine& line) {
    if (line.width <= 0) return;
    constexpr int kMaxWidth = 75;  // twips
    out += side;
    appendCommand(out, "\\brdrs\\brdrw", std::clamp(twips(line.width), 1, kMaxWidth));
    appendCommand(out, "\\brdrcf", colorOf(line.color));
}

RtfLooks::Look RtfLooks::makeLook(const CellStyle& style) {
    constexpr std::array kAligns = {"\\ql", "\\qc", "\\qr", "\\qj"};
    constexpr std::array kVerticals = {"\\clvertalt", "\\clvertalc", "\\clvertalb"};
    Look look;
    std::string& paragraph = look.paragraph;
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

    appendCommand(look.associated, "\\af", font);
    appendCommand(look.associated, "\\afs", size);
    if (style.bold) look.associated += "\\ab";
    if (style.italic) look.associated += "\\ai";
    look.associated += ' ';

    look.frame = kVerticals[static_cast<std::size_t>(style.verticalAlign)];
    if (style.rotation == 90) look.frame += "\\cltxtbrl";
    if (style.rotation == 270) look.frame += "\\cltxbtlr";
    appendBorder(look.frame, "\\clbrdrt", style.border.top);
    appendBorder(look.frame, "\\clbrdrl", style.border.left);
    appendBorder(look.frame, "\\clbrdrb", style.border.bottom);
    appendBorder(look.frame, "\\clbrdrr", style.border.right);
    if (style.background) appendCommand(look.frame, "\\clcbpat", colorOf(*style.background));
    return look;
}

void RtfLooks::appendTables(std::string& out) const {
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

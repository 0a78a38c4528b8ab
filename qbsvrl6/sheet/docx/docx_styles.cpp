#include "qbsvrl6/sheet/docx/docx_styles.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <unordered_set>

#include "qbsvrl6/model/inheritance.h"
#include "qbsvrl6/model/named_styles.h"
#include "qbsvrl6/sheet/docx/docx_xml.h"
#include "qbsvrl6/sheet/package/package_xml.h"
#include "qbsvrl6/support/letter_case.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

constexpr std::array kAligns = {"left", "center", "right", "both"};

std::string switchOf(const char* name, const char* complexName, bool on) {
    std::string out;
    XmlWriter xml(out);
    for (const char* const one : {name, complexName}) {
        xml.open(one);
        if (!on) xml.attribute("w:val", 0);
        xml.close();
    }
    return out;
}

void appendBorder(XmlWriter& xml, const char* side, const BorderLine& line) {
    if (line.width <= 0) return;
    constexpr double kEighths = 8;  // of a point
    const auto width = std::lround(line.width / kMicrometresPerPoint * kEighths);
    xml.open(side).attribute("w:val", line.dashed ? "dashed" : "single");
    xml.attribute("w:sz", std::clamp(width, 2L, 96L)).attribute("w:space", 0);
    xml.attribute("w:color", HexColor{line.color}).close();
}

std::string cellFormOf(const CellStyle& style) {
    constexpr std::array kVerticals = {"top", "center", "bottom"};
    std::string out;
    XmlWriter xml(out);
    const Border& border = style.border;
    if (border.top.width > 0 || border.left.width > 0 || border.bottom.width > 0 || border.right.width > 0) {
        xml.open("w:tcBorders");
        appendBorder(xml, "w:top", border.top);
        appendBorder(xml, "w:left", border.left);
        appendBorder(xml, "w:bottom", border.bottom);
        appendBorder(xml, "w:right", border.right);
        xml.close();
    }
    if (style.background) {
        xml.open("w:shd").attribute("w:val", "clear").attribute("w:color", "auto");
        xml.attribute("w:fill", HexColor{*style.background}).close();
    }
    if (style.rotation == 90 || style.rotation == 270) {
        xml.open("w:textDirection").attribute("w:val", style.rotation == 90 ? "tbRl" : "btLr").close();
    }
    xml.open("w:vAlign")
        .attribute("w:val", kVerticals[static_cast<std::size_t>(style.verticalAlign)])
        .close();
    return out;
}

const char* nameOf(TextLanguage language) {
    switch (language) {
        case TextLanguage::Chinese:
            return "zh-CN";
        case TextLanguage::Japanese:
            return "ja-JP";
        case TextLanguage::Korean:
            return "ko-KR";
        case TextLanguage::Unknown:
            break;
    }
    return "";
}

bool isOneOf(std::string_view name, std::initializer_list<std::string_view> languages) {
    return std::any_of(languages.begin(), languages.end(),
                       [&](std::string_view language) { return name.starts_with(language); });
}

}  // namespace

DocxStyles::DocxStyles(const ReportDefinition& report) : report_(report) {
    NamedStyles styles(report);
    named_.push_back({u"Normal", propertiesOf(styles.resolve({}, {}))});
    // Word processors ignore the case of names, have some names of their own, and divide names at commas.
    std::unordered_set<std::u16string> taken = {u"normal", u"spacer", u"default paragraph font",
                                                u"normal table"};
    std::vector<const NamedStyle*> all;
    for (const NamedStyle& style : report.styles) all.push_back(&style);
    if (report.inherited) {
        for (const NamedStyle& style : report.inherited->styles()) all.push_back(&style);
    }
    for (const NamedStyle* const one : all) {
        const NamedStyle& style = *one;
        if (style.name.empty() || byName_.contains(style.name)) continue;
        std::u16string name = style.name;
        std::replace_if(
            name.begin(), name.end(), [](char16_t c) { return c < 0x20 || c == u',' || c == u';'; }, u' ');
        while (!taken.insert(foldedCase(name)).second) name += u" 2";
        byName_.emplace(style.name, named_.size());
        named_.push_back({std::move(name), propertiesOf(styles.resolve(style.name, {}))});
    }
}

DocxStyles::Properties DocxStyles::propertiesOf(const CellStyle& style) {
    Properties result;
    XmlWriter spacing(result.spacing);
    const double lines = std::isfinite(style.lineSpacing) ? std::clamp(style.lineSpacing, 0.1, 10.0) : 1;
    spacing.open("w:spacing").attribute("w:before", 0).attribute("w:after", 0);
    spacing.attribute("w:line", std::lround(240 * lines)).attribute("w:lineRule", "auto").close();
    XmlWriter indent(result.indent);
    indent.open("w:ind").attribute("w:left", twips(std::max(style.padding.left, 0)));
    indent.attribute("w:right", twips(std::max(style.padding.right, 0))).close();
    XmlWriter fonts(result.fonts);
    fonts.open("w:rFonts");
    for (const char* const script : {"w:ascii", "w:hAnsi", "w:eastAsia", "w:cs"}) {
        fonts.attribute(script, style.fontFamily);
    }
    fonts.close();
    result.bold = switchOf("w:b", "w:bCs", style.bold);
    result.italic = switchOf("w:i", "w:iCs", style.italic);
    XmlWriter(result.color).open("w:color").attribute("w:val", HexColor{style.color}).close();
    const long size = std::lround(2 * std::clamp(style.fontSize, 1.0, 1600.0));
    XmlWriter sizes(result.size);
    sizes.open("w:sz").attribute("w:val", size).close().open("w:szCs").attribute("w:val", size).close();
    XmlWriter(result.underline).open("w:u").attribute("w:val", style.underline ? "single" : "none").close();
    result.align = style.align;
    return result;
}

DocxStyles::Properties DocxStyles::propertiesOf(const ResolvedStyle& style) {
    CellStyle cell;
    cell.fontFamily = style.fontFamily;
    cell.fontSize = style.fontSize;
    cell.bold = style.bold;
    cell.italic = style.italic;
    cell.underline = style.underline;
    cell.color = style.color;
    cell.align = style.align;
    cell.lineSpacing = style.lineSpacing;
    cell.padding = style.padding;
    return propertiesOf(cell);
}

// The properties of runs, in the order of the format.
std::string DocxStyles::difference(const Properties& style, const Properties& base) {
    std::string out;
    if (style.fonts != base.fonts) out += style.fonts;
    if (style.bold != base.bold) out += style.bold;
    if (style.italic != base.italic) out += style.italic;
    if (style.color != base.color) out += style.color;
    if (style.size != base.size) out += style.size;
    if (style.underline != base.underline) out += style.underline;
    return out;
}

DocxTextForm DocxStyles::makeForm(const Properties& style, std::size_t named) const {
    const Properties& base = named_[named].properties;
    DocxTextForm form;
    if (named > 0) form.paragraphStart = "<w:pStyle w:val=\"S" + std::to_string(named) + "\"/>";
    if (style.spacing != base.spacing) form.spacing += style.spacing;
    if (style.indent != base.indent) form.spacing += style.indent;
    form.align = style.align;
    form.hasAlign = style.align != base.align;
    form.run = difference(style, base);
    return form;
}

// A style of a sub-report that the report does not have is none.
std::size_t DocxStyles::namedStyleOf(const Item& item) {
    if (item.control == nullptr || item.control->styleName.empty()) return 0;
    const auto [known, isNew] = byControl_.try_emplace(item.control, 0);
    if (isNew) {
        const auto style = byName_.find(item.control->styleName);
        if (style != byName_.end()) known->second = style->second;
    }
    return known->second;
}

const DocxTextForm& DocxStyles::textForm(const Cell& cell) {
    if (const auto* const text = std::get_if<TextItem>(&cell.item->content)) language_.see(text->text);
    const int number = table_.idOf(cell);
    const std::size_t named = namedStyleOf(*cell.item);
    const auto [entry, isNew] = forms_.try_emplace({number, named});
    if (isNew) {
        entry->second = makeForm(propertiesOf(*table_.styles()[static_cast<std::size_t>(number)]), named);
    }
    const TextLanguage language =
        cell.item->style == nullptr ? TextLanguage::Unknown : cell.item->style->language;
    if (language == TextLanguage::Unknown) return entry->second;
    const auto [own, isNewLanguage] = formsInLanguage_.try_emplace({&entry->second, language});
    if (isNewLanguage) {
        own->second = entry->second;
        XmlWriter(own->second.language).open("w:lang").attribute("w:eastAsia", nameOf(language)).close();
    }
    return own->second;
}

const std::string& DocxStyles::cellForm(const Cell& cell) {
    const auto number = static_cast<std::size_t>(table_.idOf(cell));
    while (cellForms_.size() <= number) {
        cellForms_.push_back(cellFormOf(*table_.styles()[cellForms_.size()]));
    }
    return cellForms_[number];
}

std::string DocxStyles::eastAsianLanguage() const {
    const std::string_view guess = language_.name();
    return guess == "ja" ? "ja-JP" : guess == "ko" ? "ko-KR" : "zh-CN";
}

std::string DocxStyles::part() const {
    std::string out;
    XmlWriter xml(out);
    xml.declare().open("w:styles").attribute("xmlns:w", kWordNamespace).lineEnd();
    const Properties& base = named_.front().properties;
    xml.open("w:docDefaults").open("w:rPrDefault").open("w:rPr");
    xml.content() += difference(base, {});
    const std::string language =
        report_.info.language.empty() ? language_.name() : toUtf8(report_.info.language);
    const bool isEastAsian = isOneOf(language, {"zh", "ja", "ko"});
    const bool isTurned = isOneOf(language, {"ar", "he"});
    xml.open("w:lang").attribute("w:val", isEastAsian || isTurned ? "en-US" : language);
    xml.attribute("w:eastAsia", isEastAsian ? language : eastAsianLanguage());
    if (isTurned) xml.attribute("w:bidi", language);
    xml.close().close().close().open("w:pPrDefault").open("w:pPr");
    // Reports have no space between ideographs and digits.
    for (const char* const space : {"w:autoSpaceDE", "w:autoSpaceDN"}) {
        xml.open(space).attribute("w:val", 0).close();
    }
    xml.content() += base.spacing;
    xml.close().close().close().lineEnd();
    const auto add = [&](const char* type, const std::string& id, auto&&... name) -> XmlWriter& {
        xml.open("w:style").attribute("w:type", type).attribute("w:styleId", id);
        if (id == "Normal") xml.attribute("w:default", 1);
        return xml.open("w:name").attribute("w:val", name...).close();
    };
    const auto addRun = [&](const std::string& properties) {
        if (properties.empty()) return;
        xml.open("w:rPr").content() += properties;
        xml.close();
    };
    const auto addParagraph = [&](const Properties& style) {
        xml.open("w:pPr").content() += style.spacing + style.indent;
        xml.open("w:jc").attribute("w:val", kAligns[static_cast<std::size_t>(style.align)]).close().close();
    };
    add("paragraph", "Normal", "Normal").open("w:qFormat").close();
    addParagraph(base);
    xml.close().lineEnd();
    add("paragraph", kSpacer, kSpacer);
    xml.open("w:pPr").open("w:spacing").attribute("w:before", 0).attribute("w:after", 0);
    xml.attribute("w:line", 20).attribute("w:lineRule", "exact").close().close();
    addRun("<w:sz w:val=\"2\"/><w:szCs w:val=\"2\"/>");
    xml.close().lineEnd();
    for (std::size_t i = 1; i < named_.size(); ++i) {
        const std::string number = std::to_string(i);
        const Named& style = named_[i];
        add("paragraph", "S" + number, style.name).open("w:basedOn").attribute("w:val", "Normal").close();
        xml.open("w:link").attribute("w:val", "C", number).close().open("w:qFormat").close();
        addParagraph(style.properties);
        addRun(difference(style.properties, base));
        xml.close().lineEnd();
        add("character", "C" + number, style.name, " Char").open("w:link");
        xml.attribute("w:val", "S", number).close();
        addRun(difference(style.properties, base));
        xml.close().lineEnd();
    }
    xml.close().lineEnd();
    return out;
}

}  // namespace qbsvrl6

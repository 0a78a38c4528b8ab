#include "qbsvrl6/sheet/ods/ods_styles.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "qbsvrl6/support/append.h"

namespace qbsvrl6 {

namespace {

constexpr std::pair<const char*, const char*> kNamespaces[] = {
    {"xmlns:office", "office"}, {"xmlns:style", "style"},   {"xmlns:text", "text"},
    {"xmlns:table", "table"},   {"xmlns:draw", "drawing"},  {"xmlns:number", "datastyle"},
    {"xmlns:meta", "meta"},     {"xmlns:config", "config"}, {"xmlns:chart", "chart"},
};
constexpr std::pair<const char*, const char*> kCompatibleNamespaces[] = {{"xmlns:fo", "xsl-fo-compatible"},
                                                                         {"xmlns:svg", "svg-compatible"}};

void writeBorder(XmlWriter& xml, const char* side, const BorderLine& line) {
    if (line.width <= 0) return;
    constexpr Micrometres kThinnest = 20;
    std::string& out = xml.beginAttribute(side);
    OdsLength{std::max(line.width, kThinnest)}.appendTo(out);
    out += line.dashed ? " dashed " : " solid ";
    OdsColor{line.color}.appendTo(out);
    xml.endAttribute();
}

}  // namespace

void OdsLength::appendTo(std::string& out) const {
    appendNumber(out, length / 1000.0, 3);
    out += "mm";
}

void OdsColor::appendTo(std::string& out) const { appendColor(out, color); }

XmlWriter& openOdsPart(XmlWriter& xml, std::string_view root) {
    xml.declare().open(root);
    for (const auto& [prefix, name] : kNamespaces) {
        xml.attribute(prefix, "urn:oasis:names:tc:opendocument:xmlns:", name, ":1.0");
    }
    for (const auto& [prefix, name] : kCompatibleNamespaces) {
        xml.attribute(prefix, "urn:oasis:names:tc:opendocument:xmlns:", name, ":1.0");
    }
    xml.attribute("xmlns:xlink", "http://www.w3.org/1999/xlink");
    xml.attribute("xmlns:dc", "http://purl.org/dc/elements/1.1/");
    xml.attribute("xmlns:of", "urn:oasis:names:tc:opendocument:xmlns:of:1.2");
    xml.attribute("xmlns:ooo", "http://openoffice.org/2004/office");
    xml.attribute("xmlns:loext", "urn:org:documentfoundation:names:experimental:office:xmlns:loext:1.0");
    return xml.attribute("office:version", "1.3");
}

void writeTextProperties(XmlWriter& xml, const CellStyle& style) {
    xml.open("style:text-properties");
    const double size = std::clamp(style.fontSize, 1.0, 1600.0);
    for (const char* const family :
         {"fo:font-family", "style:font-family-asian", "style:font-family-complex"}) {
        std::u16string quoted = u"'";
        for (const char16_t c : style.fontFamily) quoted += c == u'\'' ? u' ' : c;
        xml.attribute(family, quoted += u'\'');
    }
    for (const char* const name : {"fo:font-size", "style:font-size-asian", "style:font-size-complex"}) {
        std::string& out = xml.beginAttribute(name);
        appendNumber(out, size, 1);
        out += "pt";
        xml.endAttribute();
    }
    for (const char* const name :
         {"fo:font-weight", "style:font-weight-asian", "style:font-weight-complex"}) {
        xml.attribute(name, style.bold ? "bold" : "normal");
    }
    for (const char* const name : {"fo:font-style", "style:font-style-asian", "style:font-style-complex"}) {
        xml.attribute(name, style.italic ? "italic" : "normal");
    }
    if (style.underline) {
        xml.attribute("style:text-underline-style", "solid").attribute("style:text-underline-width", "auto");
    }
    xml.attribute("fo:color", OdsColor{style.color}).close();
}

int OdsStyles::lineStyle(const LineContent& line) {
    std::string properties;
    XmlWriter xml(properties);
    xml.open("style:graphic-properties").attribute("draw:stroke", line.dashed ? "dash" : "solid");
    xml.attribute("svg:stroke-width", OdsLength{std::max(line.width, 0)});
    xml.attribute("svg:stroke-color", OdsColor{line.color}).close();
    return numberOf(lines_, properties);
}

void OdsStyles::writeCellStyle(XmlWriter& xml, const CellStyle& style, std::size_t number) {
    constexpr std::array kAligns = {"start", "center", "end", "justify"};
    constexpr std::array kVerticals = {"top", "middle", "bottom"};
    constexpr Micrometres kIndent = 2'500;  // a step of spreadsheets
    const std::string format = style.numberFormat.empty() ? "" : formats_.of(style.numberFormat).name;
    xml.open("style:style").attribute("style:name", "ce", number).attribute("style:family", "table-cell");
    xml.attribute("style:parent-style-name", "Default");
    if (!format.empty()) xml.attribute("style:data-style-name", format);
    xml.open("style:table-cell-properties");
    if (style.background) xml.attribute("fo:background-color", OdsColor{*style.background});
    writeBorder(xml, "fo:border-left", style.border.left);
    writeBorder(xml, "fo:border-top", style.border.top);
    writeBorder(xml, "fo:border-right", style.border.right);
    writeBorder(xml, "fo:border-bottom", style.border.bottom);
    xml.attribute("style:vertical-align", kVerticals[static_cast<std::size_t>(style.verticalAlign)]);
    xml.attribute("style:text-align-source", "fix").attribute("style:repeat-content", "false");
    if (style.rotation != 0) xml.attribute("style:rotation-angle", (360 - style.rotation) % 360);
    if (style.wraps) xml.attribute("fo:wrap-option", "wrap");
    // A number that is only slightly too wide would be shown as "###".
    if (style.isNumber) xml.attribute("style:shrink-to-fit", "true");
    xml.close();
    xml.open("style:paragraph-properties");
    xml.attribute("fo:text-align", kAligns[static_cast<std::size_t>(style.align)]);
    const bool isRight = style.align == HorizontalAlign::Right;
    xml.attribute("fo:margin-left", OdsLength{isRight ? 0 : style.indent * kIndent});
    if (isRight && style.indent > 0) xml.attribute("fo:margin-right", OdsLength{style.indent * kIndent});
    xml.close();
    writeTextProperties(xml, style);
    xml.close().lineEnd();
}

std::string OdsStyles::xml(const std::vector<const CellStyle*>& cells) {
    std::string own;
    XmlWriter xml(own);
    for (const auto& [width, number] : columns_) {
        xml.open("style:style").attribute("style:name", "co", number);
        xml.attribute("style:family", "table-column").open("style:table-column-properties");
        xml.attribute("style:column-width", OdsLength{std::max(width, 100)}).close().close().lineEnd();
    }
    for (const auto& [key, number] : rows_) {
        xml.open("style:style").attribute("style:name", "ro", number);
        xml.attribute("style:family", "table-row").open("style:table-row-properties");
        xml.attribute("style:row-height", OdsLength{std::max(key.first, 100)});
        xml.attribute("style:use-optimal-row-height", "false");
        if (key.second) xml.attribute("fo:break-before", "page");
        xml.close().close().lineEnd();
    }
    for (std::size_t i = 0; i < cells.size(); ++i) writeCellStyle(xml, *cells[i], i + 1);
    for (const auto& [properties, number] : lines_) {
        xml.open("style:style").attribute("style:name", "gr", number).attribute("style:family", "graphic");
        xml.content() += properties;
        xml.close().lineEnd();
    }
    return formats_.styles() + own;
}

}  // namespace qbsvrl6

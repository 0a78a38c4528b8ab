#include "qbsvrl6/sheet/xlsx/xlsx_styles.h"

#include <algorithm>
#include <array>
#include <unordered_map>

#include "qbsvrl6/sheet/workbook/sheet_value.h"
#include "qbsvrl6/sheet/xlsx/xlsx_xml.h"

namespace qbsvrl6 {

namespace {

// The elements of one list of the style sheet, each stored once.
class ElementList {
public:
    template <class Write, class... Arguments>
    std::size_t add(Write writeElement, const Arguments&... arguments) {
        element_.clear();
        XmlWriter xml(element_);
        writeElement(xml, arguments...);
        const auto [entry, isNew] = numbers_.try_emplace(element_, numbers_.size());
        if (isNew) all_ += element_;
        return entry->second;
    }
    void write(XmlWriter& xml, std::string_view name) const {
        xml.open(name).attribute("count", numbers_.size()).content() += all_;
        xml.close().lineEnd();
    }

private:
    std::unordered_map<std::string, std::size_t> numbers_;
    std::string all_;
    std::string element_;
};

void writeColor(XmlWriter& xml, std::string_view name, const Color& color) {
    xml.open(name).attribute("rgb", "FF", HexColor{color}).close();
}

void writeFont(XmlWriter& xml, const CellStyle& style) {
    constexpr std::size_t kMaxName = 31;
    xml.open("font");
    if (style.bold) xml.open("b").close();
    if (style.italic) xml.open("i").close();
    if (style.underline) xml.open("u").close();
    xml.open("sz").attribute("val", Rounded{std::clamp(style.fontSize, 1.0, 409.0)}).close();
    writeColor(xml, "color", style.color);
    xml.open("name").attribute("val", std::u16string_view(style.fontFamily).substr(0, kMaxName)).close();
    xml.close();
}

void writePlainFont(XmlWriter& xml) {
    xml.open("font").open("sz").attribute("val", 10).close();
    xml.open("name").attribute("val", "Arial").close().open("family").attribute("val", 2).close().close();
}

void writeFill(XmlWriter& xml, const Color& color) {
    xml.open("fill").open("patternFill").attribute("patternType", "solid");
    writeColor(xml, "fgColor", color);
    xml.open("bgColor").attribute("indexed", 64).close().close().close();
}

void writePattern(XmlWriter& xml, const char* pattern) {
    xml.open("fill").open("patternFill").attribute("patternType", pattern).close().close();
}

void writeBorderSide(XmlWriter& xml, std::string_view name, const BorderLine& line) {
    constexpr std::array kWeights = {"none", "hair", "thin", "medium", "thick"};
    const LineWeight weight = lineWeight(line.width);
    xml.open(name);
    if (weight != LineWeight::None) {
        xml.attribute("style", !line.dashed                  ? kWeights[static_cast<std::size_t>(weight)]
                               : weight < LineWeight::Medium ? "dashed"
                                                             : "mediumDashed");
        writeColor(xml, "color", line.color);
    }
    xml.close();
}

void writeBorder(XmlWriter& xml, const Border& border) {
    xml.open("border");
    writeBorderSide(xml, "left", border.left);
    writeBorderSide(xml, "right", border.right);
    writeBorderSide(xml, "top", border.top);
    writeBorderSide(xml, "bottom", border.bottom);
    xml.open("diagonal").close().close();
}

void writeAlignment(XmlWriter& xml, const CellStyle& style) {
    constexpr std::array kAligns = {"left", "center", "right", "justify"};
    constexpr std::array kVerticals = {"top", "center", "bottom"};
    xml.open("alignment");
    xml.attribute("horizontal", kAligns[static_cast<std::size_t>(style.align)]);
    xml.attribute("vertical", kVerticals[static_cast<std::size_t>(style.verticalAlign)]);
    const int rotation = rotationNumber(style.rotation);
    if (rotation != 0) xml.attribute("textRotation", rotation);
    if (style.indent != 0) xml.attribute("indent", style.indent);
    if (style.wraps) xml.attribute("wrapText", 1);
    // A number that is only slightly too wide would be shown as "####".
    if (style.isNumber) xml.attribute("shrinkToFit", 1);
    xml.close();
}

// The number format of a cell, and the indexes of its font, fill and border in their lists.
struct CellFormat {
    std::size_t number = 0, font = 0, fill = 0, border = 0;
};

XmlWriter& openFormat(XmlWriter& xml, const CellFormat& format) {
    return xml.open("xf")
        .attribute("numFmtId", format.number)
        .attribute("fontId", format.font)
        .attribute("fillId", format.fill)
        .attribute("borderId", format.border);
}

class StyleSheet {
public:
    StyleSheet() {
        fonts_.add(writePlainFont);
        fills_.add(writePattern, "none");
        fills_.add(writePattern, "gray125");
        borders_.add(writeBorder, Border());
        openFormat(cells_, {}).attribute("xfId", 0).close();
    }

    void add(const CellStyle& style) {
        CellFormat format;
        format.number = numberFormat(style.numberFormat);
        format.font = fonts_.add(writeFont, style);
        if (style.background) format.fill = fills_.add(writeFill, *style.background);
        format.border = borders_.add(writeBorder, style.border);
        openFormat(cells_, format).attribute("xfId", 0);
        for (const char* const use :
             {"applyNumberFormat", "applyFont", "applyFill", "applyBorder", "applyAlignment"}) {
            cells_.attribute(use, 1);
        }
        writeAlignment(cells_, style);
        cells_.close();
        ++count_;
    }

    std::string xml() const {
        std::string part;
        XmlWriter xml(part);
        xml.declare().open("styleSheet").attribute("xmlns", kSpreadsheetNamespace).lineEnd();
        if (!formats_.empty()) {
            xml.open("numFmts").attribute("count", formats_.size()).content() += formatElements_;
            xml.close().lineEnd();
        }
        fonts_.write(xml, "fonts");
        fills_.write(xml, "fills");
        borders_.write(xml, "borders");
        openFormat(xml.open("cellStyleXfs").attribute("count", 1), {}).close().close().lineEnd();
        xml.open("cellXfs").attribute("count", count_).content() += cellElements_;
        xml.close().lineEnd();
        xml.open("cellStyles").attribute("count", 1).open("cellStyle").attribute("name", "Normal");
        xml.attribute("xfId", 0).attribute("builtinId", 0).close().close().lineEnd();
        xml.close().lineEnd();
        return part;
    }

private:
    std::size_t numberFormat(const std::u16string& code) {
        constexpr std::size_t kFirstFormat = 164;  // those before are built in
        constexpr std::size_t kMaxUnits = 255;
        if (code.empty()) return 0;
        const auto [entry, isNew] = formats_.try_emplace(code, kFirstFormat + formats_.size());
        if (isNew) {
            XmlWriter(formatElements_)
                .open("numFmt")
                .attribute("numFmtId", entry->second)
                .attribute("formatCode", std::u16string_view(code).substr(0, kMaxUnits))
                .close();
        }
        return entry->second;
    }

    ElementList fonts_, fills_, borders_;
    std::unordered_map<std::u16string, std::size_t> formats_;
    std::string formatElements_;
    std::string cellElements_;
    XmlWriter cells_{cellElements_};
    std::size_t count_ = 1;
};

}  // namespace

std::string xlsxStyles(const std::vector<const CellStyle*>& styles) {
    StyleSheet sheet;
    for (const CellStyle* style : styles) sheet.add(*style);
    return sheet.xml();
}

}  // namespace qbsvrl6

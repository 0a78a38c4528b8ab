#include "qbsvrl6/sheet/xlsx/xlsx_styles.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <unordered_map>

#include "qbsvrl6/sheet/escape.h"
#include "qbsvrl6/sheet/text/css.h"
#include "qbsvrl6/sheet/workbook/sheet_value.h"

namespace qbsvrl6 {

namespace {

// Elements of one list of the style sheet, each held once.
class ElementList {
public:
    explicit ElementList(std::initializer_list<const char*> fixed) {
        for (const char* xml : fixed) add(xml);
    }
    std::size_t add(const std::string& xml) {
        const auto [entry, isNew] = numbers_.try_emplace(xml, numbers_.size());
        if (isNew) all_ += xml;
        return entry->second;
    }
    std::string list(const std::string& name) const {
        return "<" + name + " count=\"" + std::to_string(numbers_.size()) + "\">" + all_ + "</" + name +
               ">\n";
    }

private:
    std::unordered_map<std::string, std::size_t> numbers_;
    std::string all_;
};

std::string rgb(const Color& color) {
    std::array<char, 16> text;
    std::snprintf(text.data(), text.size(), "rgb=\"FF%02X%02X%02X\"", color.red, color.green, color.blue);
    return text.data();
}

std::string fontElement(const CellStyle& style) {
    constexpr std::size_t kMaxName = 31;
    std::string xml = "<font>";
    if (style.bold) xml += "<b/>";
    if (style.italic) xml += "<i/>";
    if (style.underline) xml += "<u/>";
    xml += "<sz val=\"";
    appendNumber(xml, std::clamp(style.fontSize, 1.0, 409.0));
    xml += "\"/><color " + rgb(style.color) + "/><name val=\"";
    appendMarkup(xml, std::u16string_view(style.fontFamily).substr(0, kMaxName));
    return xml + "\"/></font>";
}

std::string fillElement(const Color& color) {
    return "<fill><patternFill patternType=\"solid\"><fgColor " + rgb(color) +
           "/><bgColor indexed=\"64\"/></patternFill></fill>";
}

std::string borderElement(const Border& border) {
    constexpr std::array kWeights = {"none", "hair", "thin", "medium", "thick"};
    std::string xml = "<border>";
    const auto side = [&](const char* name, const BorderLine& line) {
        const LineWeight weight = lineWeight(line.width);
        const char* const kind = !line.dashed                  ? kWeights[static_cast<std::size_t>(weight)]
                                 : weight < LineWeight::Medium ? "dashed"
                                                               : "mediumDashed";
        xml += std::string("<") + name;
        if (weight != LineWeight::None) {
            xml += std::string(" style=\"") + kind + "\"><color " + rgb(line.color) + "/></" + name + ">";
        } else {
            xml += "/>";
        }
    };
    side("left", border.left);
    side("right", border.right);
    side("top", border.top);
    side("bottom", border.bottom);
    return xml + "<diagonal/></border>";
}

// Degrees upwards from 0 to 90; from 91 on, degrees downwards.
int rotationNumber(int clockwise) { return clockwise == 90 ? 180 : clockwise == 270 ? 90 : 0; }

std::string alignmentElement(const CellStyle& style) {
    constexpr std::array kAligns = {"left", "center", "right", "justify"};
    constexpr std::array kVerticals = {"top", "center", "bottom"};
    std::string xml = std::string("<alignment horizontal=\"") +
                      kAligns[static_cast<std::size_t>(style.align)] + "\" vertical=\"" +
                      kVerticals[static_cast<std::size_t>(style.verticalAlign)] + '"';
    const int rotation = rotationNumber(style.rotation);
    if (rotation != 0) xml += " textRotation=\"" + std::to_string(rotation) + '"';
    if (style.indent != 0) xml += " indent=\"" + std::to_string(style.indent) + '"';
    if (style.wraps) xml += " wrapText=\"1\"";
    // A number that is a trace too wide would read "####".
    if (style.isNumber) xml += " shrinkToFit=\"1\"";
    return xml + "/>";
}

}  // namespace

std::string xlsxStyles(const std::vector<const CellStyle*>& styles) {
    constexpr std::size_t kFirstFormat = 164;  // those before are built in
    ElementList fonts{"<font><sz val=\"10\"/><name val=\"Arial\"/><family val=\"2\"/></font>"};
    ElementList fills{"<fill><patternFill patternType=\"none\"/></fill>",
                      "<fill><patternFill patternType=\"gray125\"/></fill>"};
    ElementList borders{"<border><left/><right/><top/><bottom/><diagonal/></border>"};
    std::unordered_map<std::u16string, std::size_t> formats;
    std::string formatElements;
    std::string cells = "<xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\" xfId=\"0\"/>";
    for (const CellStyle* style : styles) {
        std::size_t format = 0;
        if (!style->numberFormat.empty()) {
            const auto [entry, isNew] =
                formats.try_emplace(style->numberFormat, kFirstFormat + formats.size());
            format = entry->second;
            if (isNew) {
                formatElements += "<numFmt numFmtId=\"" + std::to_string(format) + "\" formatCode=\"";
                appendMarkup(formatElements, std::u16string_view(style->numberFormat).substr(0, 255));
                formatElements += "\"/>";
            }
        }
        cells += "<xf numFmtId=\"" + std::to_string(format) + "\" fontId=\"" +
                 std::to_string(fonts.add(fontElement(*style))) + "\" fillId=\"" +
                 std::to_string(style->background ? fills.add(fillElement(*style->background)) : 0) +
                 "\" borderId=\"" + std::to_string(borders.add(borderElement(style->border))) +
                 "\" xfId=\"0\" applyNumberFormat=\"1\" applyFont=\"1\" applyFill=\"1\" applyBorder=\"1\" "
                 "applyAlignment=\"1\">" +
                 alignmentElement(*style) + "</xf>";
    }
    std::string xml =
        "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
        "<styleSheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\">\n";
    if (!formats.empty()) {
        xml += "<numFmts count=\"" + std::to_string(formats.size()) + "\">" + formatElements + "</numFmts>\n";
    }
    xml += fonts.list("fonts") + fills.list("fills") + borders.list("borders") +
           "<cellStyleXfs count=\"1\"><xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" "
           "borderId=\"0\"/></cellStyleXfs>\n"
           "<cellXfs count=\"" +
           std::to_string(styles.size() + 1) + "\">" + cells +
           "</cellXfs>\n<cellStyles count=\"1\"><cellStyle name=\"Normal\" xfId=\"0\" "
           "builtinId=\"0\"/></cellStyles>\n"
           "</styleSheet>\n";
    return xml;
}

}  // namespace qbsvrl6

// DrawingML (ECMA-376 part 1, 20.5). Lengths are in EMU, 36 to the micrometre.
#include "qbsvrl6/sheet/xlsx/xlsx_drawing.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "qbsvrl6/sheet/escape.h"
#include "qbsvrl6/sheet/text/css.h"

namespace qbsvrl6 {

namespace {

std::string emu(double micrometres) {
    if (!std::isfinite(micrometres)) micrometres = 0;
    return std::to_string(std::llround(std::clamp(micrometres, -1e9, 1e9) * 36));
}

std::string position(const char* name, double x, double y) {
    return std::string("<") + name + " x=\"" + emu(x) + "\" y=\"" + emu(y) + "\"/>";
}

std::string extent(const char* name, double width, double height) {
    return std::string("<") + name + " cx=\"" + emu(std::max(width, 0.0)) + "\" cy=\"" +
           emu(std::max(height, 0.0)) + "\"/>";
}

std::string solidFill(const Color& color, double opacity = 1) {
    std::string text;
    appendColor(text, color);
    std::string xml = "<a:solidFill><a:srgbClr val=\"" + text.substr(1) + "\">";
    if (opacity < 1) {
        xml +=
            "<a:alpha val=\"" + std::to_string(std::lround(std::clamp(opacity, 0.0, 1.0) * 100'000)) + "\"/>";
    }
    return xml + "</a:srgbClr></a:solidFill>";
}

// A command without its points ends the path.
std::string pathCommands(const Drawing::Path& path) {
    std::string xml;
    std::size_t next = 0;
    for (const char command : path.commands) {
        const std::size_t count = command == 'C' ? 3 : command == 'Z' ? 0 : 1;
        if (next + count > path.points.size()) break;
        const char* const name = command == 'M'   ? "a:moveTo"
                                 : command == 'L' ? "a:lnTo"
                                 : command == 'C' ? "a:cubicBezTo"
                                                  : "a:close";
        xml += std::string("<") + name + ">";
        for (std::size_t i = 0; i < count; ++i, ++next) {
            xml += position("a:pt", path.points[next].x, path.points[next].y);
        }
        xml += std::string("</") + name + ">";
    }
    return xml;
}

}  // namespace

void XlsxDrawing::add(const Floating& floating, std::int64_t row, const std::string& relation) {
    const auto* picture = std::get_if<PictureItem>(&floating.item->content);
    const auto* drawing = std::get_if<DrawingItem>(&floating.item->content);
    Rect box{0, 0, floating.item->box.width, floating.item->box.height};
    if (picture != nullptr) box = picture->placed;
    anchors_ += "<xdr:oneCellAnchor><xdr:from><xdr:col>" + std::to_string(floating.column) +
                "</xdr:col><xdr:colOff>" + emu(std::max(floating.x + box.x, 0)) + "</xdr:colOff><xdr:row>" +
                std::to_string(row) + "</xdr:row><xdr:rowOff>" + emu(std::max(floating.y + box.y, 0)) +
                "</xdr:rowOff></xdr:from>" + extent("xdr:ext", box.width, box.height);
    if (picture != nullptr) addPicture(*picture, relation);
    if (drawing != nullptr) addDrawing(*drawing->drawing, {box.width, box.height}, drawing->alternateText);
    if (const auto* line = std::get_if<LineItem>(&floating.item->content)) {
        addLine(line->line, {box.width, box.height});
    }
    anchors_ += "<xdr:clientData/></xdr:oneCellAnchor>\n";
}

void XlsxDrawing::addLine(const LineContent& line, Size size) {
    const std::string id = nextId();
    anchors_ += "<xdr:cxnSp><xdr:nvCxnSpPr><xdr:cNvPr id=\"" + id + "\" name=\"Line " + id +
                "\"/><xdr:cNvCxnSpPr/></xdr:nvCxnSpPr><xdr:spPr><a:xfrm" +
                (line.rising ? " flipV=\"1\">" : ">") + position("a:off", 0, 0) +
                extent("a:ext", size.width, size.height) +
                "</a:xfrm><a:prstGeom prst=\"line\"><a:avLst/></a:prstGeom><a:ln w=\"" +
                emu(std::max(line.width, 0)) + "\">" + solidFill(line.color) +
                (line.dashed ? "<a:prstDash val=\"dash\"/>" : "") + "</a:ln></xdr:spPr></xdr:cxnSp>";
}

void XlsxDrawing::addPicture(const PictureItem& item, const std::string& relation) {
    const std::string id = nextId();
    anchors_ += "<xdr:pic><xdr:nvPicPr><xdr:cNvPr id=\"" + id + "\" name=\"Picture " + id + "\" descr=\"";
    appendMarkup(anchors_, item.alternateText);
    anchors_ += "\"/><xdr:cNvPicPr/></xdr:nvPicPr><xdr:blipFill><a:blip r:embed=\"" + relation +
                "\"/><a:stretch><a:fillRect/></a:stretch></xdr:blipFill><xdr:spPr><a:xfrm>" +
                position("a:off", 0, 0) + extent("a:ext", item.placed.width, item.placed.height) +
                "</a:xfrm><a:prstGeom prst=\"rect\"><a:avLst/></a:prstGeom></xdr:spPr></xdr:pic>";
}

void XlsxDrawing::addDrawing(const Drawing& drawing, Size size, std::u16string_view alternateText) {
    const std::string id = nextId();
    anchors_ += "<xdr:grpSp><xdr:nvGrpSpPr><xdr:cNvPr id=\"" + id + "\" name=\"Drawing " + id + "\" descr=\"";
    appendMarkup(anchors_, alternateText);
    anchors_ += "\"/><xdr:cNvGrpSpPr/></xdr:nvGrpSpPr><xdr:grpSpPr><a:xfrm>" + position("a:off", 0, 0) +
                extent("a:ext", size.width, size.height) + position("a:chOff", 0, 0) +
                extent("a:chExt", size.width, size.height) + "</a:xfrm></xdr:grpSpPr>";
    for (const auto& element : drawing.elements) {
        if (const auto* path = std::get_if<Drawing::Path>(&element)) addPath(*path, size);
        if (const auto* label = std::get_if<Drawing::Label>(&element)) addLabel(*label);
    }
    anchors_ += "</xdr:grpSp>";
}

void XlsxDrawing::addPath(const Drawing::Path& path, Size size) {
    const std::string id = nextId();
    anchors_ += "<xdr:sp><xdr:nvSpPr><xdr:cNvPr id=\"" + id + "\" name=\"Shape " + id +
                "\"/><xdr:cNvSpPr/></xdr:nvSpPr><xdr:spPr><a:xfrm>" + position("a:off", 0, 0) +
                extent("a:ext", size.width, size.height) +
                "</a:xfrm><a:custGeom><a:avLst/><a:gdLst/><a:ahLst/><a:cxnLst/>"
                "<a:rect l=\"0\" t=\"0\" r=\"r\" b=\"b\"/><a:pathLst><a:path w=\"" +
                emu(size.width) + "\" h=\"" + emu(size.height) + "\">" + pathCommands(path) +
                "</a:path></a:pathLst></a:custGeom>" +
                (path.fill ? solidFill(*path.fill, path.fillOpacity) : "<a:noFill/>") + "<a:ln";
    if (path.stroke) {
        anchors_ +=
            " w=\"" + emu(std::max(path.strokeWidth, 0.0)) + "\">" + solidFill(*path.stroke) + "</a:ln>";
    } else {
        anchors_ += "><a:noFill/></a:ln>";
    }
    anchors_ += "</xdr:spPr></xdr:sp>";
}

// A text box without margins, wide enough for its text and turned about its own centre, so that the anchor on
// the base line comes to lie where it should.
void XlsxDrawing::addLabel(const Drawing::Label& label) {
    constexpr std::array kAligns = {"l", "ctr", "r"};
    constexpr double kAscent = 0.95;  // of the font size, from the box's top to the base line
    constexpr double kLineHeight = 1.2;
    const double em = label.fontSize * kMicrometresPerPoint;
    const double width = em * static_cast<double>(label.text.size() + 1);
    const double height = em * kLineHeight;
    const double anchorX = width * static_cast<double>(label.anchor) / 2;
    const double degrees =
        std::isfinite(label.rotation) ? std::fmod(std::fmod(label.rotation, 360) + 360, 360) : 0;
    const double turn = degrees * std::numbers::pi / 180;
    // From the anchor to the box's centre, before and after the turn.
    const double dx = width / 2 - anchorX;
    const double dy = height / 2 - em * kAscent;
    const double centerX = label.x + dx * std::cos(turn) - dy * std::sin(turn);
    const double centerY = label.y + dx * std::sin(turn) + dy * std::cos(turn);
    const std::string id = nextId();
    anchors_ += "<xdr:sp><xdr:nvSpPr><xdr:cNvPr id=\"" + id + "\" name=\"Label " + id +
                "\"/><xdr:cNvSpPr txBox=\"1\"/></xdr:nvSpPr><xdr:spPr><a:xfrm";
    if (degrees != 0) {
        anchors_ += " rot=\"" + std::to_string(std::lround(degrees * 60'000)) + '"';
    }
    anchors_ += ">" + position("a:off", centerX - width / 2, centerY - height / 2) +
                extent("a:ext", width, height) +
                "</a:xfrm><a:prstGeom prst=\"rect\"><a:avLst/></a:prstGeom><a:noFill/></xdr:spPr><xdr:txBody>"
                "<a:bodyPr wrap=\"square\" lIns=\"0\" tIns=\"0\" rIns=\"0\" bIns=\"0\"/><a:p><a:pPr algn=\"" +
                kAligns[static_cast<std::size_t>(label.anchor)] + "\"/><a:r><a:rPr sz=\"" +
                std::to_string(std::lround(std::clamp(label.fontSize, 1.0, 400.0) * 100)) + '"' +
                (label.bold ? " b=\"1\">" : ">") + solidFill(label.color);
    if (!label.fontFamily.empty()) {
        for (const char* script : {"latin", "ea"}) {
            anchors_ += std::string("<a:") + script + " typeface=\"";
            appendMarkup(anchors_, label.fontFamily);
            anchors_ += "\"/>";
        }
    }
    anchors_ += "</a:rPr><a:t>";
    appendMarkup(anchors_, label.text);
    anchors_ += "</a:t></a:r></a:p></xdr:txBody></xdr:sp>";
}

std::string XlsxDrawing::xml() const {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
           "<xdr:wsDr xmlns:xdr=\"http://schemas.openxmlformats.org/drawingml/2006/spreadsheetDrawing\" "
           "xmlns:a=\"http://schemas.openxmlformats.org/drawingml/2006/main\" "
           "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\">\n" +
           anchors_ + "</xdr:wsDr>\n";
}

}  // namespace qbsvrl6

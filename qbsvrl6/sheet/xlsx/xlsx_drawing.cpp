// DrawingML (ECMA-376 part 1, 20.5). Lengths are in EMU, 36 to the micrometre.
#include "qbsvrl6/sheet/xlsx/xlsx_drawing.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <utility>

#include "qbsvrl6/sheet/workbook/drawing_picture.h"
#include "qbsvrl6/sheet/xlsx/xlsx_xml.h"

namespace qbsvrl6 {

namespace {

constexpr std::size_t kMostKept = 1u << 20;  // bytes of anchors before they are compressed

constexpr std::string_view kEndOfPart = "</xdr:wsDr>\n";

std::string startOfPart() {
    std::string part;
    XmlWriter xml(part);
    xml.declare().open("xdr:wsDr");
    xml.attribute("xmlns:xdr", "http://schemas.openxmlformats.org/drawingml/2006/spreadsheetDrawing");
    xml.attribute("xmlns:a", "http://schemas.openxmlformats.org/drawingml/2006/main");
    xml.attribute("xmlns:r", kRelationNamespace).lineEnd();
    return part;
}

std::int64_t emu(double micrometres) {
    if (!std::isfinite(micrometres)) micrometres = 0;
    return std::llround(std::clamp(micrometres, -1e9, 1e9) * 36);
}

void writePosition(XmlWriter& xml, std::string_view name, double x, double y) {
    xml.open(name).attribute("x", emu(x)).attribute("y", emu(y)).close();
}

void writeExtent(XmlWriter& xml, std::string_view name, double width, double height) {
    xml.open(name).attribute("cx", emu(std::max(width, 0.0)));
    xml.attribute("cy", emu(std::max(height, 0.0))).close();
}

// The rest of an open <a:xfrm>.
void endTransform(XmlWriter& xml, double x, double y, double width, double height) {
    writePosition(xml, "a:off", x, y);
    writeExtent(xml, "a:ext", width, height);
    xml.close();
}

void writePresetShape(XmlWriter& xml, std::string_view shape) {
    xml.open("a:prstGeom").attribute("prst", shape).open("a:avLst").close().close();
}

void writeFill(XmlWriter& xml, const Color& color, double opacity = 1) {
    xml.open("a:solidFill").open("a:srgbClr").attribute("val", HexColor{color});
    if (opacity < 1) {
        const long share = std::lround(std::clamp(opacity, 0.0, 1.0) * 100'000);
        xml.open("a:alpha").attribute("val", share).close();
    }
    xml.close().close();
}

void writeCommands(XmlWriter& xml, const Drawing::Path& path) {
    forEachStep(path, [&xml](char command, const auto& points) {
        xml.open(command == 'M'   ? "a:moveTo"
                 : command == 'L' ? "a:lnTo"
                 : command == 'C' ? "a:cubicBezTo"
                                  : "a:close");
        for (const Drawing::Path::Point& point : points) writePosition(xml, "a:pt", point.x, point.y);
        xml.close();
    });
}

}  // namespace

void XlsxDrawing::add(const Overlay& overlay, std::int64_t row, std::string_view relation) {
    const auto* picture = std::get_if<PictureItem>(&overlay.item->content);
    const auto* drawing = std::get_if<DrawingItem>(&overlay.item->content);
    Rect box{0, 0, overlay.item->box.width, overlay.item->box.height};
    const bool isChart = drawing != nullptr && !relation.empty();
    if (picture != nullptr || isChart) box = pictureBox(*overlay.item);
    anchors_.open("xdr:oneCellAnchor").open("xdr:from");
    anchors_.element("xdr:col", overlay.column);
    anchors_.element("xdr:colOff", emu(std::max(overlay.x + box.x, 0)));
    anchors_.element("xdr:row", row);
    anchors_.element("xdr:rowOff", emu(std::max(overlay.y + box.y, 0)));
    anchors_.close();
    writeExtent(anchors_, "xdr:ext", box.width, box.height);
    if (picture != nullptr) addPicture(*overlay.item, *picture, relation);
    if (isChart) {
        addChart({box.width, box.height}, relation, drawing->alternateText);
    } else if (drawing != nullptr) {
        addDrawing(*drawing->drawing, {box.width, box.height}, drawing->alternateText);
    }
    if (const auto* line = std::get_if<LineItem>(&overlay.item->content)) {
        addLine(line->line, {box.width, box.height});
    }
    anchors_.open("xdr:clientData").close().close().lineEnd();
    if (anchorElements_.size() > kMostKept) compress();
}

XmlWriter& XlsxDrawing::openProperties(std::string_view name) {
    ++objects_;
    return anchors_.open("xdr:cNvPr").attribute("id", objects_).attribute("name", name, " ", objects_);
}

void XlsxDrawing::addLine(const LineContent& line, Size size) {
    XmlWriter& xml = anchors_;
    xml.open("xdr:cxnSp").open("xdr:nvCxnSpPr");
    openProperties("Line").close().open("xdr:cNvCxnSpPr").close().close();
    xml.open("xdr:spPr").open("a:xfrm");
    if (line.rising) xml.attribute("flipV", 1);
    endTransform(xml, 0, 0, size.width, size.height);
    writePresetShape(xml, "line");
    xml.open("a:ln").attribute("w", emu(std::max(line.width, 0)));
    writeFill(xml, line.color);
    if (line.dashed) xml.open("a:prstDash").attribute("val", "dash").close();
    xml.close().close().close();
}

void XlsxDrawing::addPicture(const Item& item, const PictureItem& picture, std::string_view relation) {
    XmlWriter& xml = anchors_;
    xml.open("xdr:pic").open("xdr:nvPicPr");
    openProperties("Picture").attribute("descr", picture.alternateText).close();
    xml.open("xdr:cNvPicPr").close().close();
    xml.open("xdr:blipFill").open("a:blip").attribute("r:embed", relation).close();
    writeCut(xml, pictureCut(item));
    xml.open("a:stretch").open("a:fillRect").close().close().close();
    xml.open("xdr:spPr").open("a:xfrm");
    const Rect box = pictureBox(item);
    endTransform(xml, 0, 0, box.width, box.height);
    writePresetShape(xml, "rect");
    xml.close().close();
}

void XlsxDrawing::addChart(Size size, std::string_view relation, std::u16string_view alternateText) {
    XmlWriter& xml = anchors_;
    xml.open("xdr:graphicFrame").attribute("macro", "").open("xdr:nvGraphicFramePr");
    openProperties("Chart").attribute("descr", alternateText).close();
    xml.open("xdr:cNvGraphicFramePr").close().close().open("xdr:xfrm");
    endTransform(xml, 0, 0, size.width, size.height);
    xml.open("a:graphic").open("a:graphicData").attribute("uri", kChartNamespace);
    xml.open("c:chart").attribute("xmlns:c", kChartNamespace).attribute("r:id", relation).close();
    xml.close().close().close();
}

void XlsxDrawing::addDrawing(const Drawing& drawing, Size size, std::u16string_view alternateText) {
    XmlWriter& xml = anchors_;
    xml.open("xdr:grpSp").open("xdr:nvGrpSpPr");
    openProperties("Drawing").attribute("descr", alternateText).close();
    xml.open("xdr:cNvGrpSpPr").close().close();
    xml.open("xdr:grpSpPr").open("a:xfrm");
    writePosition(xml, "a:off", 0, 0);
    writeExtent(xml, "a:ext", size.width, size.height);
    writePosition(xml, "a:chOff", 0, 0);
    writeExtent(xml, "a:chExt", size.width, size.height);
    xml.close().close();
    for (const auto& element : drawing.elements) {
        if (const auto* path = std::get_if<Drawing::Path>(&element)) addPath(*path, size);
        if (const auto* label = std::get_if<Drawing::Label>(&element)) addLabel(*label);
    }
    xml.close();
}

void XlsxDrawing::addPath(const Drawing::Path& path, Size size) {
    XmlWriter& xml = anchors_;
    xml.open("xdr:sp").open("xdr:nvSpPr");
    openProperties("Shape").close().open("xdr:cNvSpPr").close().close();
    xml.open("xdr:spPr").open("a:xfrm");
    endTransform(xml, 0, 0, size.width, size.height);
    xml.open("a:custGeom");
    for (const char* const list : {"a:avLst", "a:gdLst", "a:ahLst", "a:cxnLst"}) xml.open(list).close();
    xml.open("a:rect").attribute("l", 0).attribute("t", 0).attribute("r", "r").attribute("b", "b").close();
    xml.open("a:pathLst").open("a:path").attribute("w", emu(size.width)).attribute("h", emu(size.height));
    writeCommands(xml, path);
    xml.text().close().close().close();
    if (path.fill) {
        writeFill(xml, *path.fill, path.fillOpacity);
    } else {
        xml.open("a:noFill").close();
    }
    xml.open("a:ln");
    if (path.stroke) {
        xml.attribute("w", emu(std::max(path.strokeWidth, 0.0)));
        writeFill(xml, *path.stroke);
    } else {
        xml.open("a:noFill").close();
    }
    xml.close().close().close();
}

// A text box without margins, wide enough for its text. It is rotated about its centre, which is chosen such
// that the label's anchor, on the baseline, has its position.
void XlsxDrawing::addLabel(const Drawing::Label& label) {
    constexpr std::array kAligns = {"l", "ctr", "r"};
    constexpr double kAscent = 0.95;  // of the font size, from the box's top to the baseline
    constexpr double kLineHeight = 1.2;
    const double em = label.fontSize * kMicrometresPerPoint;
    const double width = em * static_cast<double>(label.text.size() + 1);
    const double height = em * kLineHeight;
    const double anchorX = width * static_cast<double>(label.anchor) / 2;
    const double degrees =
        std::isfinite(label.rotation) ? std::fmod(std::fmod(label.rotation, 360) + 360, 360) : 0;
    const double turn = degrees * std::numbers::pi / 180;
    // From the anchor to the box's centre, before the rotation.
    const double dx = width / 2 - anchorX;
    const double dy = height / 2 - em * kAscent;
    const double centerX = label.x + dx * std::cos(turn) - dy * std::sin(turn);
    const double centerY = label.y + dx * std::sin(turn) + dy * std::cos(turn);
    XmlWriter& xml = anchors_;
    xml.open("xdr:sp").open("xdr:nvSpPr");
    openProperties("Label").close().open("xdr:cNvSpPr").attribute("txBox", 1).close().close();
    xml.open("xdr:spPr").open("a:xfrm");
    if (degrees != 0) xml.attribute("rot", std::lround(degrees * 60'000));
    endTransform(xml, centerX - width / 2, centerY - height / 2, width, height);
    writePresetShape(xml, "rect");
    xml.open("a:noFill").close().close();
    xml.open("xdr:txBody").open("a:bodyPr").attribute("wrap", "square");
    for (const char* const side : {"lIns", "tIns", "rIns", "bIns"}) xml.attribute(side, 0);
    xml.close().open("a:p").open("a:pPr");
    xml.attribute("algn", kAligns[static_cast<std::size_t>(label.anchor)]).close();
    xml.open("a:r").open("a:rPr");
    xml.attribute("sz", std::lround(std::clamp(label.fontSize, 1.0, 400.0) * 100));
    if (label.bold) xml.attribute("b", 1);
    writeFill(xml, label.color);
    if (!label.fontFamily.empty()) {
        for (const char* const script : {"a:latin", "a:ea"}) {
            xml.open(script).attribute("typeface", label.fontFamily).close();
        }
    }
    xml.close().element("a:t", label.text).close().close().close().close();
}

void XlsxDrawing::compress() {
    if (!compressed_) {
        compressed_.emplace();
        compressed_->append(startOfPart());
    }
    compressed_->append(anchorElements_);
    anchorElements_.clear();
}

void XlsxDrawing::writeTo(ZipWriter& zip, const std::string& name) {
    anchorElements_ += kEndOfPart;
    if (!compressed_) return zip.add(name, startOfPart() + std::exchange(anchorElements_, {}));
    DeflateStream rest;
    rest.append(std::exchange(anchorElements_, {}));
    zip.add(name, *std::exchange(compressed_, std::nullopt), std::move(rest));
}

}  // namespace qbsvrl6

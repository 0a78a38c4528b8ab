// SpreadsheetML worksheets (ECMA-376 part 1, 18.3). Texts are in their cells ("inlineStr"), so that no table
// of all texts is held in memory; only pending texts are in the shared table, which is built at the end.
#include "qbsvrl6/sheet/xlsx/xlsx_sheet.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "qbsvrl6/sheet/text/css.h"

namespace qbsvrl6 {

using namespace std::string_view_literals;

namespace {

constexpr std::size_t kBufferBytes = 64 * 1024;

std::string chartRelation(std::size_t chart) { return "rIdChart" + std::to_string(chart); }

// Rounded up to quarters of a point, so that no text is cut off.
double rowHeight(Micrometres height) {
    return std::clamp(std::ceil(points(height) * 4) / 4, 0.25, points(kMaxRowHeight));
}

Rounded inches(Micrometres length) { return {std::max(length, 0) / 25400.0}; }

struct Millimetres {
    Micrometres length;
    void appendTo(std::string& out) const { appendMillimetres(out, length); }
};

}  // namespace

XlsxSheet::XlsxSheet() {
    buffer_.reserve(kBufferBytes + kBufferBytes / 4);
    xml_.resume("worksheet").resume("sheetData");
}

void XlsxSheet::beginRow(Micrometres height, int outline) {
    xml_.open("row").attribute("ht", rowHeight(height)).attribute("customHeight", 1);
    if (outline > 0) xml_.attribute("outlineLevel", outline);
    nextColumn_ = 0;
}

// Cells are most of a workbook. For speed, their tags are written without an XmlWriter. A cell has a reference
// only where it doesn't follow the one before it, and a row never, which nearly halves the sheet.
std::string& XlsxSheet::openCell(int column, int style) {
    columns_ = std::max(columns_, column + 1);
    std::string& out = xml_.content();
    if (column == nextColumn_) {
        out += "<c s=\""sv;
    } else {
        out += "<c r=\""sv;
        out += rangeName(column, 1, 1);
        out += "\" s=\""sv;
    }
    nextColumn_ = column + 1;
    appendXmlNumber(out, style);
    return out;
}

void XlsxSheet::addBlank(int column, int style) { openCell(column, style) += "\"/>"sv; }

void XlsxSheet::addValue(int column, int style, const SheetValue& value) {
    std::string& out = openCell(column, style);
    switch (value.kind) {
        case SheetValue::Kind::Blank:
            out += "\"/>"sv;
            break;
        case SheetValue::Kind::Number:
            if (value.formula) {
                out += "\"><f>"sv;
                appendFormula(out, *value.formula, FormulaSyntax::Office);
                out += "</f><v>"sv;
            } else if (value.laterFormula) {
                out += "\">"sv;
                gaps_.push_back({held_.size() + buffer_.size(), *value.laterFormula});
                out += "<v>"sv;
            } else {
                out += "\"><v>"sv;
            }
            appendXmlNumber(out, value.number);
            out += "</v></c>"sv;
            break;
        case SheetValue::Kind::Boolean:
            out += value.boolean ? "\" t=\"b\"><v>1</v></c>"sv : "\" t=\"b\"><v>0</v></c>"sv;
            break;
        case SheetValue::Kind::Text: {
            const auto isSpace = [](char16_t c) {
                return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r';
            };
            const bool hasSpaces = isSpace(value.text.front()) || isSpace(value.text.back());
            out += hasSpaces ? "\" t=\"inlineStr\"><is><t xml:space=\"preserve\">"sv
                             : "\" t=\"inlineStr\"><is><t>"sv;
            appendXstring(out, value.text);
            out += "</t></is></c>"sv;
            break;
        }
    }
}

void XlsxSheet::addShared(int column, int style, std::size_t sharedText) {
    std::string& out = openCell(column, style);
    out += "\" t=\"s\"><v>"sv;
    appendXmlNumber(out, sharedText);
    out += "</v></c>"sv;
}

void XlsxSheet::endRow() {
    xml_.text().close().lineEnd();
    ++rows_;
    if (buffer_.size() >= kBufferBytes) flush();
}

void XlsxSheet::flush() {
    if (gaps_.empty()) {
        body_.append(buffer_);
    } else {
        held_.append(buffer_);
    }
    buffer_.clear();
}

void XlsxSheet::fillGaps(const ColumnTotals& totals) {
    if (gaps_.empty()) return;
    flush();
    std::uint64_t from = 0;
    const auto appendHeld = [&](std::uint64_t end) {
        std::string block;
        while (from < end) {
            block.resize(static_cast<std::size_t>(std::min<std::uint64_t>(end - from, kBufferBytes)));
            from += held_.read(from, block.data(), block.size());
            body_.append(block);
        }
    };
    for (const Gap& gap : gaps_) {
        appendHeld(gap.place);
        const std::optional<SheetFormula>& formula = totals.laterFormula(gap.formula);
        if (!formula) continue;
        std::string text = "<f>";
        appendFormula(text, *formula, FormulaSyntax::Office);
        body_.append(text += "</f>");
    }
    appendHeld(held_.size());
    held_ = Spool();
    gaps_.clear();
}

std::string XlsxSheet::rangeName(int column, int columnSpan, int rowSpan) const {
    std::string name = columnName(column) + std::to_string(rows_ + 1);
    if (columnSpan == 1 && rowSpan == 1) return name;
    return name + ':' + columnName(column + columnSpan - 1) + std::to_string(rows_ + rowSpan);
}

void XlsxSheet::merge(int column, int columnSpan, int rowSpan) {
    XmlWriter(merges_).open("mergeCell").attribute("ref", rangeName(column, columnSpan, rowSpan)).close();
    ++mergeCount_;
}

bool XlsxSheet::link(int column, int columnSpan, int rowSpan, std::u16string_view address) {
    if (linkCount_ == kMaxLinks) return false;
    const std::string id = "rIdLink" + std::to_string(++linkCount_);
    XmlWriter xml(links_);
    xml.open("hyperlink").attribute("ref", rangeName(column, columnSpan, rowSpan));
    if (address.starts_with(u'#')) {
        xml.attribute("location", address.substr(1));
    } else {
        xml.attribute("r:id", id);
        relations_.addLink(id, address);
    }
    xml.close();
    return true;
}

void XlsxSheet::addChart(const Overlay& overlay, std::size_t number) {
    charts_.push_back(number);
    add(overlay, chartRelation(number));
}

void XlsxSheet::breakPage() {
    if (rows_ > 0 && (breaks_.empty() || breaks_.back() != rows_)) breaks_.push_back(rows_);
}

std::string XlsxSheet::head(const PrintSetup& print, const SheetFeatures& features) const {
    std::string part;
    XmlWriter xml(part);
    xml.declare().open("worksheet").attribute("xmlns", kSpreadsheetNamespace);
    xml.attribute("xmlns:r", kRelationNamespace).lineEnd();
    writeProperties(xml, print, features);
    const auto lastRow = static_cast<int>(std::max<std::int64_t>(rows_, 1));
    const std::string last = columnName(std::max(columns_ - 1, 0)) + std::to_string(lastRow);
    xml.open("dimension").attribute("ref", "A1", last == "A1" ? "" : ":" + last).close();
    writeView(xml, print, features);
    writeColumns(xml, print, features);
    xml.open("sheetData").lineEnd();
    return part;
}

// Manual page breaks apply only if the sheet isn't fitted to pages.
void XlsxSheet::writeProperties(XmlWriter& xml, const PrintSetup& print,
                                const SheetFeatures& features) const {
    const bool hasOutline = features.hasSummariesAbove || features.hasSummariesAtLeft;
    if (print.paged && !hasOutline) return;
    xml.open("sheetPr");
    if (hasOutline) {
        xml.open("outlinePr");
        if (features.hasSummariesAbove) xml.attribute("summaryBelow", 0);
        if (features.hasSummariesAtLeft) xml.attribute("summaryRight", 0);
        xml.close();
    }
    if (!print.paged) xml.open("pageSetUpPr").attribute("fitToPage", 1).close();
    xml.close();
}

void XlsxSheet::writeView(XmlWriter& xml, const PrintSetup& print, const SheetFeatures& features) const {
    xml.open("sheetViews").open("sheetView").attribute("workbookViewId", 0);
    if (print.isFirstSheet) xml.attribute("tabSelected", 1);
    const int columns = features.frozenColumns;
    if (frozenRows_ > 0 || columns > 0) {
        const std::string_view active = columns == 0      ? "bottomLeft"
                                        : frozenRows_ > 0 ? "bottomRight"
                                                          : "topRight";
        xml.open("pane");
        if (columns > 0) xml.attribute("xSplit", columns);
        if (frozenRows_ > 0) xml.attribute("ySplit", frozenRows_);
        xml.attribute("topLeftCell", columnName(columns), frozenRows_ + 1);
        xml.attribute("activePane", active).attribute("state", "frozen").close();
        xml.open("selection").attribute("pane", active).close();
    }
    xml.close().close();
}

void XlsxSheet::writeColumns(XmlWriter& xml, const PrintSetup& print, const SheetFeatures& features) {
    const std::vector<int>& outlines = features.columnOutlines;
    const int greatest = outlines.empty() ? 0 : *std::max_element(outlines.begin(), outlines.end());
    xml.open("sheetFormatPr").attribute("defaultRowHeight", "12.75");
    if (features.rowOutlines > 0) xml.attribute("outlineLevelRow", features.rowOutlines);
    if (greatest > 0) xml.attribute("outlineLevelCol", greatest);
    xml.close().open("cols");
    const std::vector<int> pixels = print.columnPixels();
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        xml.open("col").attribute("min", i + 1).attribute("max", i + 1);
        xml.attribute("width", Rounded{1.0 * pixels[i] / kPixelsPerDigit}).attribute("customWidth", 1);
        if (i < outlines.size() && outlines[i] > 0) xml.attribute("outlineLevel", outlines[i]);
        xml.close();
    }
    xml.close().lineEnd();
}

void XlsxSheet::writeTail(const PrintSetup& print, const SheetFeatures& features) {
    xml_.close().lineEnd();
    if (features.filter)
        xml_.open("autoFilter").attribute("ref", areaName(*features.filter, "")).close().lineEnd();
    if (mergeCount_ > 0) {
        xml_.open("mergeCells").attribute("count", mergeCount_).content() += merges_;
        xml_.close().lineEnd();
    }
    if (linkCount_ > 0) {
        xml_.open("hyperlinks").content() += links_;
        xml_.close().lineEnd();
    }
    writePageSetup(print);
    if (!breaks_.empty()) {
        xml_.open("rowBreaks")
            .attribute("count", breaks_.size())
            .attribute("manualBreakCount", breaks_.size());
        for (const std::int64_t row : breaks_) {
            xml_.open("brk")
                .attribute("id", row)
                .attribute("max", kMaxColumns - 1)
                .attribute("man", 1)
                .close();
        }
        xml_.close().lineEnd();
    }
    if (hasDrawing()) xml_.open("drawing").attribute("r:id", "rIdDrawing").close().lineEnd();
    if (hasComments()) xml_.open("legacyDrawing").attribute("r:id", "rIdBoxes").close().lineEnd();
    xml_.close().lineEnd();
}

void XlsxSheet::writePageSetup(const PrintSetup& print) {
    const Size paper = print.page.paper;
    const Edges margins = print.margins();
    xml_.open("pageMargins");
    xml_.attribute("left", inches(margins.left)).attribute("right", inches(margins.right));
    xml_.attribute("top", inches(margins.top)).attribute("bottom", inches(margins.bottom));
    xml_.attribute("header", inches(print.headerMargin())).attribute("footer", inches(print.footerMargin()));
    xml_.close().lineEnd().open("pageSetup");
    const int number = print.paperNumber();
    if (number != 0) {
        xml_.attribute("paperSize", number);
    } else {
        xml_.attribute("paperWidth", Millimetres{std::min(paper.width, paper.height)});
        xml_.attribute("paperHeight", Millimetres{std::max(paper.width, paper.height)});
    }
    if (print.paged) {
        xml_.attribute("scale", print.scale());
    } else {
        xml_.attribute("fitToHeight", 0);
    }
    xml_.attribute("orientation", paper.width > paper.height ? "landscape" : "portrait").close().lineEnd();
    const std::u16string& header = print.header.text();
    const std::u16string& footer = print.footer.text();
    if (header.empty() && footer.empty()) return;
    xml_.open("headerFooter");
    if (!header.empty()) xml_.element("oddHeader", Xstring{header});
    if (!footer.empty()) xml_.element("oddFooter", Xstring{footer});
    xml_.close().lineEnd();
}

void XlsxSheet::writeTo(ZipWriter& zip, int number, const PrintSetup& print, const SheetFeatures& features,
                        const PackageRelations& pictures) {
    writeTail(print, features);
    flush();
    DeflateStream first;
    first.append(head(print, features));
    const std::string name = std::to_string(number);
    zip.add("xl/worksheets/sheet" + name + ".xml", std::move(first), std::move(body_));
    if (hasDrawing()) {
        relations_.add("rIdDrawing", "drawing", "../drawings/drawing" + name + ".xml");
        drawing_.writeTo(zip, "xl/drawings/drawing" + name + ".xml");
        PackageRelations relations = pictures;
        for (const std::size_t chart : charts_) {
            relations.add(chartRelation(chart), "chart", "../charts/chart" + std::to_string(chart) + ".xml");
        }
        zip.add("xl/drawings/_rels/drawing" + name + ".xml.rels", relations.xml());
    }
    if (hasComments()) {
        relations_.add("rIdComments", "comments", "../comments" + name + ".xml");
        relations_.add("rIdBoxes", "vmlDrawing", "../drawings/vmlDrawing" + name + ".vml");
        zip.add("xl/comments" + name + ".xml", comments_.xml());
        zip.add("xl/drawings/vmlDrawing" + name + ".vml", comments_.boxes());
    }
    if (!relations_.isEmpty()) {
        zip.add("xl/worksheets/_rels/sheet" + name + ".xml.rels", relations_.xml());
    }
}

}  // namespace qbsvrl6

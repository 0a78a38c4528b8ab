// SpreadsheetML worksheets (ECMA-376 part 1, 18.3). Texts stand in their cells ("inlineStr"), so that no
// table of all texts has to be held; only texts that are settled late stand in the shared table, which is
// written last.
#include "qbsvrl6/sheet/xlsx/xlsx_sheet.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "qbsvrl6/sheet/escape.h"
#include "qbsvrl6/sheet/text/css.h"

namespace qbsvrl6 {

namespace {

constexpr std::size_t kBufferBytes = 64 * 1024;
constexpr const char* kXmlHead = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
constexpr const char* kRelations = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";

// "A" ... "Z", "AA" ...
std::string columnName(int column) {
    std::string name;
    for (int rest = column; rest >= 0; rest = rest / 26 - 1)
        name.insert(0, 1, static_cast<char>('A' + rest % 26));
    return name;
}

void appendInteger(std::string& out, std::int64_t value) {
    std::array<char, 24> digits;
    out.append(digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr);
}

void appendDouble(std::string& out, double value) {
    std::array<char, 32> digits;
    out.append(digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr);
}

// Heights come in quarters of a point; rounding up keeps the text whole.
double rowHeight(Micrometres height) {
    return std::clamp(std::ceil(points(height) * 4) / 4, 0.25, points(kMaxRowHeight));
}

// A margin in inches.
void appendMargin(std::string& xml, const char* name, Micrometres length) {
    xml += std::string(" ") + name + "=\"";
    appendNumber(xml, std::max(length, 0) / 25400.0);
    xml += '"';
}

}  // namespace

XlsxSheet::XlsxSheet() { buffer_.reserve(kBufferBytes + kBufferBytes / 4); }

void XlsxSheet::beginRow(Micrometres height) {
    rowName_.clear();
    appendInteger(rowName_, rows_ + 1);
    buffer_ += "<row r=\"";
    buffer_ += rowName_;
    buffer_ += "\" ht=\"";
    appendDouble(buffer_, rowHeight(height));
    buffer_ += "\" customHeight=\"1\">";
}

void XlsxSheet::openCell(int column, int style) {
    while (static_cast<int>(columnNames_.size()) <= column) {
        columnNames_.push_back(columnName(static_cast<int>(columnNames_.size())));
    }
    columns_ = std::max(columns_, column + 1);
    buffer_ += "<c r=\"";
    buffer_ += columnNames_[static_cast<std::size_t>(column)];
    buffer_ += rowName_;
    buffer_ += "\" s=\"";
    appendInteger(buffer_, style);
}

void XlsxSheet::addBlank(int column, int style) {
    openCell(column, style);
    buffer_ += "\"/>";
}

void XlsxSheet::addValue(int column, int style, const SheetValue& value) {
    openCell(column, style);
    switch (value.kind) {
        case SheetValue::Kind::Blank:
            buffer_ += "\"/>";
            return;
        case SheetValue::Kind::Number:
            buffer_ += "\"><v>";
            appendDouble(buffer_, value.number);
            buffer_ += "</v></c>";
            return;
        case SheetValue::Kind::Boolean:
            buffer_ += value.boolean ? "\" t=\"b\"><v>1</v></c>" : "\" t=\"b\"><v>0</v></c>";
            return;
        case SheetValue::Kind::Text:
            break;
    }
    const auto isSpace = [](char16_t c) { return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r'; };
    const bool keepsSpace = isSpace(value.text.front()) || isSpace(value.text.back());
    buffer_ +=
        keepsSpace ? "\" t=\"inlineStr\"><is><t xml:space=\"preserve\">" : "\" t=\"inlineStr\"><is><t>";
    appendXstring(buffer_, value.text);
    buffer_ += "</t></is></c>";
}

void XlsxSheet::addShared(int column, int style, std::size_t sharedText) {
    openCell(column, style);
    buffer_ += "\" t=\"s\"><v>" + std::to_string(sharedText) + "</v></c>";
}

void XlsxSheet::endRow() {
    buffer_ += "</row>\n";
    ++rows_;
    if (buffer_.size() >= kBufferBytes) flush();
}

void XlsxSheet::flush() {
    body_.append(buffer_);
    buffer_.clear();
}

std::string XlsxSheet::rangeName(int column, int columnSpan, int rowSpan) const {
    std::string name = columnName(column) + std::to_string(rows_ + 1);
    if (columnSpan == 1 && rowSpan == 1) return name;
    return name + ':' + columnName(column + columnSpan - 1) + std::to_string(rows_ + rowSpan);
}

void XlsxSheet::merge(int column, int columnSpan, int rowSpan) {
    merges_ += "<mergeCell ref=\"" + rangeName(column, columnSpan, rowSpan) + "\"/>";
    ++mergeCount_;
}

bool XlsxSheet::link(int column, int columnSpan, int rowSpan, std::u16string_view address) {
    if (linkCount_ == kMaxLinks) return false;
    const std::string id = "rIdLink" + std::to_string(++linkCount_);
    links_ += "<hyperlink ref=\"" + rangeName(column, columnSpan, rowSpan) + "\" r:id=\"" + id + "\"/>";
    linkRelations_ += "<Relationship Id=\"" + id + "\" Type=\"" + kRelations + "/hyperlink\" Target=\"";
    appendMarkup(linkRelations_, address);
    linkRelations_ += "\" TargetMode=\"External\"/>\n";
    return true;
}

void XlsxSheet::breakPage() {
    if (rows_ > 0 && (breaks_.empty() || breaks_.back() != rows_)) breaks_.push_back(rows_);
}

std::string XlsxSheet::head(const PrintSetup& print) const {
    std::string xml = kXmlHead;
    xml += "<worksheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" xmlns:r=\"";
    xml += kRelations;
    xml += "\">\n";
    // With page breaks of its own a sheet keeps them only if it isn't fitted to pages.
    if (!print.paged) xml += "<sheetPr><pageSetUpPr fitToPage=\"1\"/></sheetPr>";
    xml += "<dimension ref=\"A1";
    if (rows_ > 1 || columns_ > 1) {
        xml += ":" + columnName(std::max(columns_ - 1, 0)) + std::to_string(std::max<std::int64_t>(rows_, 1));
    }
    xml += "\"/><sheetViews><sheetView workbookViewId=\"0\"";
    if (print.isFirstSheet) xml += " tabSelected=\"1\"";
    if (frozenRows_ > 0) {
        xml += "><pane ySplit=\"" + std::to_string(frozenRows_) + "\" topLeftCell=\"A" +
               std::to_string(frozenRows_ + 1) +
               "\" activePane=\"bottomLeft\" state=\"frozen\"/><selection pane=\"bottomLeft\"/></sheetView>";
    } else {
        xml += "/>";
    }
    xml += "</sheetViews><sheetFormatPr defaultRowHeight=\"12.75\"/><cols>";
    const std::vector<int> pixels = print.columnPixels();
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        const std::string number = std::to_string(i + 1);
        xml += "<col min=\"";
        xml += number;
        xml += "\" max=\"";
        xml += number;
        xml += "\" width=\"";
        appendNumber(xml, 1.0 * pixels[i] / kPixelsPerDigit);
        xml += "\" customWidth=\"1\"/>";
    }
    return xml + "</cols>\n<sheetData>\n";
}

std::string XlsxSheet::tail(const PrintSetup& print) const {
    std::string xml = "</sheetData>\n";
    if (mergeCount_ > 0) {
        xml += "<mergeCells count=\"" + std::to_string(mergeCount_) + "\">" + merges_ + "</mergeCells>\n";
    }
    if (linkCount_ > 0) xml += "<hyperlinks>" + links_ + "</hyperlinks>\n";
    appendPageSetup(xml, print);
    if (!breaks_.empty()) {
        const std::string count = std::to_string(breaks_.size());
        xml += "<rowBreaks count=\"" + count + "\" manualBreakCount=\"" + count + "\">";
        for (const std::int64_t row : breaks_) {
            xml += "<brk id=\"" + std::to_string(row) + "\" max=\"16383\" man=\"1\"/>";
        }
        xml += "</rowBreaks>\n";
    }
    if (hasDrawing()) xml += "<drawing r:id=\"rIdDrawing\"/>\n";
    return xml + "</worksheet>\n";
}

void XlsxSheet::appendPageSetup(std::string& xml, const PrintSetup& print) const {
    const Size paper = print.page.paper;
    const Edges margins = print.margins();
    xml += "<pageMargins";
    appendMargin(xml, "left", margins.left);
    appendMargin(xml, "right", margins.right);
    appendMargin(xml, "top", margins.top);
    appendMargin(xml, "bottom", margins.bottom);
    appendMargin(xml, "header", print.headerMargin());
    appendMargin(xml, "footer", print.footerMargin());
    xml += "/>\n<pageSetup";
    const int number = print.paperNumber();
    if (number != 0) {
        xml += " paperSize=\"" + std::to_string(number) + '"';
    } else {
        xml += " paperWidth=\"";
        appendMillimetres(xml, std::min(paper.width, paper.height));
        xml += "\" paperHeight=\"";
        appendMillimetres(xml, std::max(paper.width, paper.height));
        xml += '"';
    }
    if (print.paged) {
        xml += " scale=\"" + std::to_string(print.scale()) + '"';
    } else {
        xml += " fitToHeight=\"0\"";
    }
    xml += paper.width > paper.height ? " orientation=\"landscape\"/>\n" : " orientation=\"portrait\"/>\n";
    const auto add = [&](const std::string& element, const PageNumberCode& code) {
        if (code.text().empty()) return;
        xml += "<" + element + ">";
        appendXstring(xml, code.text());
        xml += "</" + element + ">";
    };
    if (print.header.text().empty() && print.footer.text().empty()) return;
    xml += "<headerFooter>";
    add("oddHeader", print.header);
    add("oddFooter", print.footer);
    xml += "</headerFooter>\n";
}

void XlsxSheet::writeTo(ZipWriter& zip, int number, const PrintSetup& print, const std::string& pictures) {
    buffer_ += tail(print);
    flush();
    DeflateStream first;
    first.append(head(print));
    const std::string name = std::to_string(number);
    zip.add("xl/worksheets/sheet" + name + ".xml", std::move(first), std::move(body_));
    const std::string relationsHead =
        std::string(kXmlHead) +
        "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">\n";
    std::string relations;
    if (hasDrawing()) {
        relations += std::string("<Relationship Id=\"rIdDrawing\" Type=\"") + kRelations +
                     "/drawing\" Target=\"../drawings/drawing" + name + ".xml\"/>\n";
        zip.add("xl/drawings/drawing" + name + ".xml", drawing_.xml());
        zip.add("xl/drawings/_rels/drawing" + name + ".xml.rels",
                relationsHead + pictures + "</Relationships>\n");
    }
    relations += linkRelations_;
    if (!relations.empty()) {
        zip.add("xl/worksheets/_rels/sheet" + name + ".xml.rels",
                relationsHead + relations + "</Relationships>\n");
    }
}

}  // namespace qbsvrl6

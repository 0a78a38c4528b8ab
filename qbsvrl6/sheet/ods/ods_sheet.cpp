#include "qbsvrl6/sheet/ods/ods_sheet.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "qbsvrl6/sheet/raw_value.h"
#include "qbsvrl6/sheet/workbook/cell_names.h"
#include "qbsvrl6/support/xml_writer.h"

namespace qbsvrl6 {

namespace {

constexpr double kSerialOf1970 = 25'569;
constexpr double kSecondsADay = 86'400;

// Readers join spaces, and drop them at the ends of a paragraph, unless they are elements.
void appendLine(std::string& out, std::u16string_view line) {
    bool keepsSpaces = true;  // at the beginning, and after a space
    for (std::size_t at = 0; at < line.size();) {
        if (line[at] == u'\t') {
            out += "<text:tab/>";
            ++at;
            keepsSpaces = true;
            continue;
        }
        if (line[at] == u' ') {
            const std::size_t end = std::min(line.find_first_not_of(u' ', at), line.size());
            std::size_t count = end - at;
            if (!keepsSpaces && end < line.size()) {
                out += ' ';
                --count;
            }
            if (count > 0) XmlWriter(out).open("text:s").attribute("text:c", count).close();
            at = end;
            keepsSpaces = false;
            continue;
        }
        const std::size_t end = std::min(line.find_first_of(u" \t", at), line.size());
        appendXmlText(out, line.substr(at, end - at));
        at = end;
        keepsSpaces = false;
    }
}

const char* nameOf(OdsValueKind kind) {
    switch (kind) {
        case OdsValueKind::Percentage:
            return "percentage";
        case OdsValueKind::Currency:
            return "currency";
        default:
            return "float";
    }
}

}  // namespace

void appendOdsText(std::string& out, std::u16string_view text, std::u16string_view link) {
    while (true) {
        const std::size_t end = std::min(text.find_first_of(u"\r\n"), text.size());
        XmlWriter xml(out);
        xml.open("text:p");
        if (!link.empty()) {
            xml.open("text:a").attribute("xlink:type", "simple").attribute("xlink:href", link);
        }
        appendLine(xml.content(), text.substr(0, end));
        if (!link.empty()) xml.close();
        xml.close();
        if (end == text.size()) return;
        text.remove_prefix(end + (text.substr(end).starts_with(u"\r\n") ? 2 : 1));
    }
}

void appendOdsFormula(std::string& out, const SheetFormula& formula) {
    out += " table:formula=\"of:=";
    appendFormula(out, formula, FormulaSyntax::OpenDocument);
    out += '"';
}

bool OdsSheet::isCovered(int column) const {
    const auto index = static_cast<std::size_t>(column);
    return column != spanned_ && index < coveredTo_.size() && coveredTo_[index] > rows_;
}

OdsSheet::Cell& OdsSheet::addCell(int column, int style) {
    Cell& cell = cells_.emplace_back();
    cell.column = column;
    cell.isCovered = isCovered(column);
    XmlWriter xml(cell.start);
    xml.open(cell.isCovered ? "table:covered-table-cell" : "table:table-cell");
    xml.attribute("table:style-name", "ce", style + 1);
    if (column == spanned_) cell.start += std::exchange(spans_, {});
    cell.link = std::exchange(link_, {});
    return cell;
}

void OdsSheet::addBlank(int column, int style) { addCell(column, style); }

void OdsSheet::addValue(int column, int style, const SheetValue& value, OdsValueKind kind) {
    Cell& cell = addCell(column, style);
    if (value.kind == SheetValue::Kind::Blank || cell.isCovered) return;
    if (value.formula) appendOdsFormula(cell.start, *value.formula);
    cell.formula = value.laterFormula.value_or(kNone);
    std::string& out = cell.value;
    std::string date;
    if (value.kind == SheetValue::Kind::Boolean) {
        out += " office:value-type=\"boolean\" office:boolean-value=\"";
        out += value.boolean ? "true\"" : "false\"";
    } else if (value.kind == SheetValue::Kind::Text) {
        out += " office:value-type=\"string\"";
    } else if (kind == OdsValueKind::Date &&
               appendRawDate(date, std::llround((value.number - kSerialOf1970) * kSecondsADay))) {
        out += " office:value-type=\"date\" office:date-value=\"" + date + '"';
    } else {
        out += " office:value-type=\"";
        out += nameOf(kind);
        out += "\" office:value=\"";
        appendXmlNumber(out, value.number);
        out += '"';
    }
    appendOdsText(cell.content, value.text, cell.link);
}

void OdsSheet::addPending(int column, int style, std::size_t pending, std::u16string link) {
    Cell& cell = addCell(column, style);
    cell.value += " office:value-type=\"string\"";
    cell.pending = pending;
    cell.link = std::move(link);
}

void OdsSheet::merge(int column, int columnSpan, int rowSpan) {
    spanned_ = column;
    spans_ = " table:number-columns-spanned=\"" + std::to_string(columnSpan) +
             "\" table:number-rows-spanned=\"" + std::to_string(rowSpan) + '"';
    const auto end = static_cast<std::size_t>(column + columnSpan);
    if (coveredTo_.size() < end) coveredTo_.resize(end, 0);
    std::fill(coveredTo_.begin() + column, coveredTo_.begin() + static_cast<std::ptrdiff_t>(end),
              rows_ + rowSpan);
}

// Without a cell at the column, an empty one is added.
void OdsSheet::addObject(int column, std::string_view object) {
    auto at =
        std::find_if(cells_.begin(), cells_.end(), [&](const Cell& cell) { return cell.column >= column; });
    if (at == cells_.end() || at->column != column) {
        Cell cell;
        cell.column = column;
        cell.isCovered = isCovered(column);
        cell.start = cell.isCovered ? "<table:covered-table-cell" : "<table:table-cell";
        at = cells_.insert(at, std::move(cell));
    }
    // Objects come before the text of their cell.
    at->content.insert(0, object);
}

// What follows the formula of a cell.
void OdsSheet::appendRest(std::vector<RowPart>& parts, Cell& cell) {
    std::string& out = parts.back().text;
    out += cell.value;
    const char* const end = cell.isCovered ? "</table:covered-table-cell>" : "</table:table-cell>";
    if (cell.pending != kNone) {
        out += '>';
        out += cell.content;
        parts.back().pending = cell.pending;
        parts.back().link = std::move(cell.link);
        parts.emplace_back().text = end;
    } else if (cell.content.empty()) {
        out += "/>";
    } else {
        out += '>';
        out += cell.content;
        out += end;
    }
}

std::vector<OdsSheet::RowPart> OdsSheet::endRow() {
    std::vector<RowPart> parts(1);
    const int style = styles_.rowStyle(height_, std::exchange(breaksPage_, false));
    parts.back().text = "<table:table-row table:style-name=\"ro" + std::to_string(style) + "\">";
    int next = 0;
    for (Cell& cell : cells_) {
        std::string& out = parts.back().text;
        if (cell.column > next) {
            XmlWriter xml(out);
            xml.open("table:table-cell");
            if (cell.column - next > 1) xml.attribute("table:number-columns-repeated", cell.column - next);
            xml.close();
        }
        next = cell.column + 1;
        out += cell.start;
        if (cell.formula != kNone) {
            parts.back().formula = cell.formula;
            parts.emplace_back();
        }
        appendRest(parts, cell);
    }
    if (cells_.empty()) parts.back().text += "<table:table-cell/>";
    parts.back().text += "</table:table-row>\n";
    cells_.clear();
    spanned_ = -1;
    ++rows_;
    return parts;
}

}  // namespace qbsvrl6

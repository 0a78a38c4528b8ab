#include "qbsvrl6/sheet/workbook/cell_names.h"

#include <array>

#include "qbsvrl6/support/xml_writer.h"

namespace qbsvrl6 {

std::string columnName(int column) {
    std::string name;
    for (int rest = column; rest >= 0; rest = rest / 26 - 1)
        name.insert(0, 1, static_cast<char>('A' + rest % 26));
    return name;
}

std::string areaName(const SheetArea& area, std::string_view sign) {
    std::string name;
    const auto add = [&](int column, std::int64_t row) {
        name += sign;
        name += columnName(column);
        name += sign;
        name += std::to_string(row + 1);
    };
    add(area.firstColumn, area.firstRow);
    if (area.firstColumn == area.lastColumn && area.firstRow == area.lastRow) return name;
    name += ':';
    add(area.lastColumn, area.lastRow);
    return name;
}

void appendFormula(std::string& out, const SheetFormula& formula, FormulaSyntax syntax) {
    struct Function {
        std::string_view name, number;  // of a subtotal
    };
    constexpr std::array<Function, 5> kFunctions = {
        {{"SUM", "9"}, {"AVERAGE", "1"}, {"COUNT", "2"}, {"MIN", "5"}, {"MAX", "4"}}};
    const Function& function = kFunctions[static_cast<std::size_t>(formula.function)];
    const bool isOpen = syntax == FormulaSyntax::OpenDocument;
    const std::string_view sheet = isOpen ? "." : "";  // the same
    const std::string column = columnName(formula.column);
    if (formula.isSubtotal) {
        out += "SUBTOTAL(";
        out += function.number;
        out += isOpen ? ';' : ',';
    } else {
        out += function.name;
        out += '(';
    }
    if (isOpen) out += '[';
    out += sheet;
    out += column;
    appendXmlNumber(out, formula.firstRow + 1);
    out += ':';
    out += sheet;
    out += column;
    appendXmlNumber(out, formula.lastRow + 1);
    out += isOpen ? "])" : ")";
}

}  // namespace qbsvrl6

#include "qbsvrl6/sheet/xlsx/xlsx_xml.h"

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

}  // namespace qbsvrl6

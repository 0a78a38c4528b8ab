#include "qbsvrl6/data/header_columns.h"

namespace qbsvrl6 {

bool HeaderColumns::add(Table& table, std::string_view name) {
    const std::string base =
        name.empty() ? "Column" + std::to_string(columns_.size() + 1) : std::string(name);
    ColumnNames& names = table.names();
    std::string own = base;
    while (names.columnOf(names.nameOf(ColumnNames::kRow, own)) != ColumnNames::npos) {
        own = base + '_' + std::to_string(++repeats_.try_emplace(base, 1).first->second);
    }
    const std::size_t column = table.columnOf(names.nameOf(ColumnNames::kRow, own));
    if (column == Table::npos) return false;
    columns_.push_back(column);
    return true;
}

}  // namespace qbsvrl6

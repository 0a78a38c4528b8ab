// The columns of a table whose names come before its rows: in a header, or from a database.
#ifndef QBSVR_QBSVRL6_DATA_HEADER_COLUMNS_H
#define QBSVR_QBSVRL6_DATA_HEADER_COLUMNS_H

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "qbsvrl6/data/table.h"

namespace qbsvrl6 {

class HeaderColumns {
public:
    // Adds a column to the table: one with a number for a repeated name ("Name_2"), "Column3" for an empty
    // one. False if the table has as many columns as it may have.
    [[nodiscard]] bool add(Table& table, std::string_view name);

    std::size_t count() const { return columns_.size(); }
    std::size_t operator[](std::size_t index) const { return columns_[index]; }

private:
    std::vector<std::size_t> columns_;
    std::unordered_map<std::string, int> repeats_;  // the last number of a repeated name
};

}  // namespace qbsvrl6

#endif

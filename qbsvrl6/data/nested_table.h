// A table that is being filled, with the tables within its rows.
#ifndef QBSVR_QBSVRL6_DATA_NESTED_TABLE_H
#define QBSVR_QBSVRL6_DATA_NESTED_TABLE_H

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>

#include "qbsvrl6/data/table.h"

namespace qbsvrl6 {

class NestedTable {
public:
    // Opens a table of the data set.
    NestedTable(DataSet& data, std::u16string name, NestedTable* parent = nullptr);

    Table& table() { return table_; }
    // The table of this name in the rows, opened on first use. Raises EngineError beyond
    // limits::kNestedTables.
    NestedTable& child(ColumnNames::Id name);
    // After the last row of the outermost table.
    void endRows();

private:
    DataSet& data_;
    NestedTable& outermost_;
    Table& table_;
    std::size_t inside_ = 0;  // the number of tables within the outermost one
    std::unordered_map<ColumnNames::Id, std::unique_ptr<NestedTable>> children_;
};

}  // namespace qbsvrl6

#endif

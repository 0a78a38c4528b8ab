// Rows of JSON text as rows of a table, and the arrays of objects within them as rows of its child tables.
#ifndef QBSVR_QBSVRL6_DATA_JSON_ROWS_H
#define QBSVR_QBSVRL6_DATA_JSON_ROWS_H

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "qbsvrl6/data/table.h"
#include "qbsvrl6/data/utf8_window.h"

namespace qbsvrl6 {

// A table that is being filled, with its child tables by their names in its rows.
class JsonTable {
public:
    JsonTable(DataSet& data, std::u16string name, JsonTable* parent = nullptr);

    Table& table() { return table_; }
    JsonTable& child(ColumnNames::Id name);
    // After the last row of the outermost table.
    void endRows();

private:
    DataSet& data_;
    Table& table_;
    std::unordered_map<ColumnNames::Id, std::unique_ptr<JsonTable>> children_;
};

class JsonRows {
public:
    explicit JsonRows(const Utf8Window& window);
    ~JsonRows();

    // Adds a row for each element of an array and returns their number. `text` is all of the array, in the
    // window. Raises EngineError.
    std::size_t read(std::string_view text, JsonTable& rows);

private:
    class Reader;
    std::unique_ptr<Reader> reader_;
};

}  // namespace qbsvrl6

#endif

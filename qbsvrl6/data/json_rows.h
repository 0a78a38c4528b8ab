// Rows of JSON text as rows of a table, and the arrays of objects within them as rows of its child tables.
#ifndef QBSVR_QBSVRL6_DATA_JSON_ROWS_H
#define QBSVR_QBSVRL6_DATA_JSON_ROWS_H

#include <cstddef>
#include <memory>
#include <string_view>

#include "qbsvrl6/data/nested_table.h"
#include "qbsvrl6/data/utf8_window.h"

namespace qbsvrl6 {

class JsonRows {
public:
    explicit JsonRows(const Utf8Window& window);
    ~JsonRows();

    // Adds a row for each element of an array and returns their number. `text` is all of the array, in the
    // window. Raises EngineError.
    std::size_t read(std::string_view text, NestedTable& rows);

private:
    class Reader;
    std::unique_ptr<Reader> reader_;
};

}  // namespace qbsvrl6

#endif

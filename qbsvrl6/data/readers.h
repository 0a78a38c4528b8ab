// The two text formats of data. Each raises EngineError with the position of the error.
#ifndef QBSVR_QBSVRL6_DATA_READERS_H
#define QBSVR_QBSVRL6_DATA_READERS_H

#include <string>
#include <unordered_map>
#include <vector>

#include "qbsvrl6/data/table.h"
#include "qbsvrl6/data/widen.h"
#include "qbsvrl6/support/source_text.h"

namespace qbsvrl6 {

DataSet readJson(const SourceText& source);
DataSet readXml(const SourceText& source);

// Raises what readXml would raise, without making tables.
void checkXml(const SourceText& source);

// Columns of one table by their UTF-8 names, made as they first appear. Rows mostly repeat the names of the
// row before in the same order, so that the name after the last one is tried first.
class ColumnFinder {
public:
    void beginRow(Table& table) {
        table.beginRow();
        next_ = 0;
    }
    // Table::npos when the table is full.
    std::size_t find(Table& table, const std::string& name);

private:
    std::vector<std::string> names_;
    std::unordered_map<std::string, std::size_t> byName_;
    std::size_t next_ = 0;
};

// The column of an element that is a value itself: a row of a list of plain values.
inline constexpr const char* kValueColumn = "value";

}  // namespace qbsvrl6

#endif

// Typed rows and parameters, as read from JSON or XML text.
#ifndef QBSVR_QBSVRL6_DATA_TABLE_H
#define QBSVR_QBSVRL6_DATA_TABLE_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "qbsvrl6/data/column_names.h"
#include "qbsvrl6/data/parent_rows.h"
#include "qbsvrl6/data/value.h"
#include "qbsvrl6/support/keyed_hash.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/number.h"

namespace qbsvrl6 {

// One table. Its rows are in groups, of which those beyond a limit of memory are in a temporary file
// (row_groups.h). A table, or a data set with all of its tables, belongs to one thread at a time, also for
// reading.
class Table {
public:
    explicit Table(std::u16string name);
    ~Table();
    Table(Table&&) noexcept;
    Table& operator=(Table&&) noexcept;

    const std::u16string& name() const;
    void rename(std::u16string name);
    std::size_t rowCount() const;
    std::size_t columnCount() const;
    std::u16string columnName(std::size_t column) const;
    // Index of the column, or npos. Looks for the exact name first, then ignores ASCII case.
    std::size_t findColumn(std::u16string_view name) const;
    // A row or column out of range reads as null, as does every row before endRows(). The text lives as long
    // as the table; if the table is paged, only until the next call. Raises MachineError if the file of a
    // paged table can't be read.
    Value value(std::size_t row, std::size_t column) const;
    bool isPaged() const;

    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    // The table that holds the rows of this one within its rows; null if there is none.
    const Table* parent() const;
    const std::vector<const Table*>& children() const;
    // The rows that a row of the parent holds.
    RowRange childrenOf(std::size_t parentRow) const;
    bool isWithin(const Table& other) const;
    // The rows within rows of a table around this one.
    RowRange rowsWithin(const Table& other, RowRange rows) const;
    // The row of the parent that holds the row.
    std::size_t parentRow(std::size_t row) const;

    // Functions that build the table. Columns are in the order of their first value; a row without a value
    // reads as null. What the table takes counts in the budget of the export. Raise MachineError if rows have
    // to go to a file that can't be written.
    void beginRow();
    // After the last row.
    void endRows();
    ColumnNames& names();
    // The column of this name, made on first use; npos where the table has as many columns as it may have.
    std::size_t columnOf(ColumnNames::Id name);
    void setNull(std::size_t column);
    void setBoolean(std::size_t column, bool value);
    // `asWritten` reads as the number.
    void setNumber(std::size_t column, const Number& value, std::u16string_view asWritten);
    void setText(std::size_t column, std::u16string_view value);
    // `seconds` as in Value; `asWritten` reads as the date.
    void setDate(std::size_t column, std::int64_t seconds, std::u16string_view asWritten);
    // Adds to a text that the row has already, after ", ", so that nothing is lost.
    void addText(std::size_t column, std::u16string_view value);

private:
    friend class DataSet;
    void setParent(Table& parent);

    struct Storage;
    std::unique_ptr<Storage> storage_;
};

struct DataParameter {
    std::u16string name;
    ValueType type = ValueType::Text;
    Number number;
    bool boolean = false;
    std::u16string text;

    Value value() const { return {type, boolean, number, 0, text}; }
};

class DataSet {
public:
    std::string origin;  // file or URL, for messages

    const std::deque<Table>& tables() const { return tables_; }
    // The table of this name; the first table for an empty name; null if there is none. Of several, it is the
    // first one without a parent, or else the first one.
    const Table* table(std::u16string_view name) const;
    void add(Table table);
    // A new table, which the caller fills and ends. Each of its rows belongs to the last row that `parent`, a
    // table of this data set, has at that moment.
    Table& open(std::u16string name, Table* parent = nullptr);

    const std::vector<DataParameter>& parameters() const { return parameters_; }
    // Without regard to ASCII case, the last of several; null if there is none.
    const DataParameter* parameter(std::u16string_view name) const;
    void add(DataParameter parameter);

private:
    void addToIndex(std::size_t index);

    std::deque<Table> tables_;
    std::vector<DataParameter> parameters_;
    std::unordered_map<std::u16string, std::size_t, KeyedHash> tableIndex_;
    std::unordered_map<std::u16string, std::size_t, KeyedHash> parameterIndex_;  // by name in lower case
};

// Logs that the data has no such table, which tables it has, and which one may be meant. `user` names the
// reader of the table: "the grid". A table within rows is not missing if there are no rows, or if they hold
// nothing where its rows would be: [] or null.
void logMissingTable(const DataSet& data, std::u16string_view name, std::string_view user,
                     TextPosition place = {});

}  // namespace qbsvrl6

#endif

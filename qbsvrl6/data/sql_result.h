// What results of all databases share: the table that is built, its limits, and values of databases as values
// of tables.
#ifndef QBSVR_QBSVRL6_DATA_SQL_RESULT_H
#define QBSVR_QBSVRL6_DATA_SQL_RESULT_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "qbsvrl6/data/header_columns.h"
#include "qbsvrl6/data/table.h"

namespace qbsvrl6 {

class SqlResult {
public:
    explicit SqlResult(std::string origin) : origin_(std::move(origin)) {}

    void addColumn(std::string_view name);
    // Raises EngineError beyond limits::kQueryRows.
    void beginRow();
    DataSet finish();

    // Values of the current row; `column` counts from 0 in the order of addColumn.
    void setWhole(std::size_t column, std::int64_t value);
    // The shortest digits that read as the same float or double.
    void setReal(std::size_t column, float value);
    void setReal(std::size_t column, double value);
    // A number as the database writes it, or a text if it is none.
    void setDecimal(std::size_t column, std::string_view written);
    void setBoolean(std::size_t column, bool value);
    void setText(std::size_t column, std::string_view utf8);
    void setText(std::size_t column, std::u16string_view text) { table_.setText(columns_[column], text); }
    // "2024-03-05", "2024-03-05 10:30:00.25", also with a "T"; other texts remain texts.
    void setDateText(std::size_t column, std::string_view written);
    // As Base64 text, which a picture reads.
    void setBytes(std::size_t column, std::string_view bytes);

private:
    template <class Real>
    void setShortest(std::size_t column, Real value);

    std::string origin_;
    Table table_{u""};
    HeaderColumns columns_;
    std::u16string wide_;
};

// Raises EngineError when a query has run longer than limits::kQuerySeconds, or the export ends.
class QueryClock {
public:
    void start() { started_ = std::chrono::steady_clock::now(); }
    void check() const;

private:
    std::chrono::steady_clock::time_point started_;
};

// A date as databases read it: "2024-03-05", with " 10:30:00" if it has a time.
std::string sqlDate(std::int64_t seconds);

}  // namespace qbsvrl6

#endif

// Rows of comma-separated text: RFC 4180, and what spreadsheets and databases write in its name.
#ifndef QBSVR_QBSVRL6_DATA_CSV_READER_H
#define QBSVR_QBSVRL6_DATA_CSV_READER_H

#include <string>
#include <string_view>

#include "qbsvrl6/data/byte_source.h"
#include "qbsvrl6/data/table.h"

namespace qbsvrl6 {

struct CsvForm {
    char separator = '\0';  // null: guessed from the first line
    bool hasHeader = true;
    std::string encoding;  // as in TextDecoder
};

// "separator=;,header=no,encoding=gbk": the options of a connection, in any order. A separator is one ASCII
// character or comma, semicolon, tab, pipe, space. Raises EngineError(NotSupported) with the options that
// exist.
CsvForm csvFormFrom(std::string_view options);

// One table without a name. Each value is the text of its field; an unquoted empty field is no value. The
// first line has the names of the columns; a repeated name gets a number ("Name_2"), and a column without a
// name is "Column3", as are all columns if there is no header. Empty lines are skipped. Rows may be shorter
// than the header, but not longer, except by empty fields.
//
// Raises EngineError with line and column.
DataSet readCsv(ByteSource& bytes, const CsvForm& form);

}  // namespace qbsvrl6

#endif

// Fetching and reading data.
#ifndef QBSVR_QBSVRL6_DATA_LOAD_H
#define QBSVR_QBSVRL6_DATA_LOAD_H

#include <string>
#include <string_view>

#include "qbsvrl6/data/table.h"

namespace qbsvrl6 {

// The bytes behind a local path, file:, http: or https: address. A relative path starts at `baseDirectory`
// (UTF-8, closed by "/"; empty: the working directory). Raises EngineError that names the address: not found,
// unreadable, larger than `maxBytes`, slow beyond limits::kFetchSeconds.
std::string fetch(std::u16string_view address, const std::string& baseDirectory, std::size_t maxBytes);

// JSON or XML text as tables and parameters.
//   JSON: a root array of objects is one table without a name; in a root object each array of objects is a
//   table by its name and each scalar a parameter. Nested objects become columns "outer.inner"; nested arrays
//   their text. XML: an element whose children repeat one name is a table of that name; a row's columns are
//   its attributes and child elements; single leaf elements below the root are parameters.
// UTF-8, UTF-16 with a mark and, where an XML declaration names them, GB18030 and GBK are read. `origin`
// names the source in messages. Raises EngineError with line and column for malformed text.
DataSet readData(std::string_view bytes, const std::string& origin);

// The same data as XML text, for callers that asked for XML: XML comes back as it is, as UTF-16.
std::u16string readXmlText(std::string_view bytes, const std::string& origin);

}  // namespace qbsvrl6

#endif

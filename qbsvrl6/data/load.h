// Fetching and reading data.
#ifndef QBSVR_QBSVRL6_DATA_LOAD_H
#define QBSVR_QBSVRL6_DATA_LOAD_H

#include <string>

#include "qbsvrl6/data/table.h"
#include "qbsvrl6/support/address.h"

namespace qbsvrl6 {

// The bytes at a local path, file:, http: or https: address. Raises EngineError that names the address: not
// found, unreadable, larger than `maxBytes`, slow beyond limits::kFetchSeconds.
std::string fetch(const Address& address, std::size_t maxBytes);

// JSON or XML text as tables and parameters.
//
// JSON: a root array is one table without a name; in a root object each array is a table by its name and each
// scalar a parameter. Names of nested objects lead: column, parameter or table "outer.inner". An element that
// is no object has the one column "value"; an array within a row is its text.
//
// XML: elements that repeat one name are rows of a table of that name, and so is a lone element with leaves
// of its own that isn't the root; a row's columns are its attributes and child elements, "outer.inner" where
// they nest. Single leaf elements below the root are parameters, as are attributes outside of rows. All is
// text.
//
// UTF-8, UTF-16 with a mark and, where an XML declaration names them, GB18030, GBK and GB2312 (and Big5 and
// Latin-1) are read. `origin` names the source in messages. Raises EngineError with line and column for
// malformed text, and for text after the end.
DataSet readData(std::string bytes, const std::string& origin);

// The same data as XML text, for callers that asked for XML. XML comes back as it is, as UTF-16; JSON becomes
// a root "data" of parameters and rows, a row named like its table ("row" where it has no name).
std::u16string readXmlText(std::string bytes, const std::string& origin);

}  // namespace qbsvrl6

#endif

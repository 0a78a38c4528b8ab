// Fetches and reads data.
#ifndef QBSVR_QBSVRL6_DATA_LOAD_H
#define QBSVR_QBSVRL6_DATA_LOAD_H

#include <string>

#include "qbsvrl6/data/byte_source.h"
#include "qbsvrl6/data/table.h"
#include "qbsvrl6/support/address.h"
#include "qbsvrl6/support/spool.h"

namespace qbsvrl6 {

// The bytes at a local path, file:, http: or https: address. Raises EngineError that names the address: not
// found, out of reach (reach.h), unreadable, larger than `maxBytes`, slow beyond limits::kFetchSeconds; and
// for what ends the whole export (budget.h).
std::string fetch(const Address& address, std::size_t maxBytes);

// The bytes of a web address, limited only by the budget of the export.
Spool download(const Address& address);

// JSON or XML text as tables and parameters.
//
// JSON: a root array is one table without a name; in a root object each array is a table by its name and each
// scalar a parameter. The members of nested objects become columns, parameters or tables named "outer.inner".
// An element that is not an object has the single column "value". Within a row, an array with objects is rows
// of a child table named "table.array", an empty one is null, and any other array is its JSON text. JSON is
// read in a window, and a row has at most limits::kDataRowBytes.
//
// XML: elements that repeat a name are rows of a table of that name, as is a single element that has leaves
// or attributes and isn't the root. The columns of a row are its attributes and child elements, "outer.inner"
// if they are nested. Elements of a row that repeat a name, of which one has attributes or elements, are rows
// of a child table; leaves alone are joined. Single leaf elements below the root are parameters, as are
// attributes outside of rows. All values are text.
//
// The encoding is UTF-8, UTF-16 with a byte order mark, or one that the XML declaration names: GB18030, GBK,
// GB2312, Big5, Latin-1. Messages name the source's origin. Raises EngineError with line and column for
// malformed text, and for text after the end.
DataSet readData(ByteSource& source);
DataSet readData(std::string bytes, const std::string& origin);

// JSON Lines: each line that is not blank is a row, as in a root array.
DataSet readJsonLines(ByteSource& source);

// The same data as XML text, in UTF-16. XML is returned unchanged; JSON becomes a root "data" with the
// parameters and rows, in which a row has the name of its table ("row" if that has none).
std::u16string readXmlText(std::string bytes, const std::string& origin);

}  // namespace qbsvrl6

#endif

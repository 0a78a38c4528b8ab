// The text formats of data. Each raises EngineError with the position of the error.
#ifndef QBSVR_QBSVRL6_DATA_READERS_H
#define QBSVR_QBSVRL6_DATA_READERS_H

#include "qbsvrl6/data/byte_source.h"
#include "qbsvrl6/data/table.h"
#include "qbsvrl6/support/source_text.h"

namespace qbsvrl6 {

// UTF-8.
DataSet readJson(ByteSource& source);
DataSet readLines(ByteSource& source);  // of JSON
DataSet readXml(const SourceText& source);

// Raises what readXml would raise, without making tables.
void checkXml(const SourceText& source);

// The column of an element that is a value itself: a row of a list of plain values.
inline constexpr const char* kValueColumn = "value";

}  // namespace qbsvrl6

#endif

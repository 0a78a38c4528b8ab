// The container of old office documents: a file system in a file (OLE2, [MS-CFB]).
#ifndef QBSVR_QBSVRL6_SHEET_XLS_COMPOUND_FILE_H
#define QBSVR_QBSVRL6_SHEET_XLS_COMPOUND_FILE_H

#include <string>
#include <string_view>
#include <vector>

namespace qbsvrl6 {

// Appends a container with one stream to `output`. The stream consists of the parts in order; each is freed
// when it has been written. Raises EngineError if the container could exceed 2 GiB.
void writeCompoundFile(std::string& output, std::u16string_view streamName, std::vector<std::string> parts);

}  // namespace qbsvrl6

#endif

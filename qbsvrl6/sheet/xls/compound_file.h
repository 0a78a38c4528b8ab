// The container of old office documents: a file system in a file (OLE2, [MS-CFB]).
#ifndef QBSVR_QBSVRL6_SHEET_XLS_COMPOUND_FILE_H
#define QBSVR_QBSVRL6_SHEET_XLS_COMPOUND_FILE_H

#include <string>
#include <string_view>
#include <vector>

namespace qbsvrl6 {

// Writes a container with one stream, whose bytes are the parts in order, to the end of `output`.
// Raises EngineError for 2 GiB and more. Each part is freed once it is written.
void writeCompoundFile(std::string& output, std::u16string_view streamName, std::vector<std::string> parts);

}  // namespace qbsvrl6

#endif

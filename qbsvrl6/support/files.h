// Reads and writes whole files.
#ifndef QBSVR_QBSVRL6_SUPPORT_FILES_H
#define QBSVR_QBSVRL6_SUPPORT_FILES_H

#include <cstddef>
#include <string>
#include <string_view>

namespace qbsvrl6 {

// The bytes of a file, with SourceText::kReadAhead bytes of capacity after them. Raises EngineError that
// names the path: FileNotFound, FileUnreadable (also for a directory), LimitExceeded beyond `maxBytes`.
// Raises MachineError if descriptors or memory run out.
std::string readFile(const std::string& path, std::size_t maxBytes);

// Writes the whole file or leaves the old one, as larkspur::WriteWholeFile does. Creates missing directories.
// Raises EngineError (FileUnwritable) that names the path and the system's cause.
void writeFile(const std::string& path, std::string_view bytes);

// The directory part of a path, ending in "/"; empty if the path has none.
std::string directoryOf(std::string_view path);

}  // namespace qbsvrl6

#endif

// Reads and writes whole files.
#ifndef QBSVR_QBSVRL6_SUPPORT_FILES_H
#define QBSVR_QBSVRL6_SUPPORT_FILES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "qbsvrl6/support/descriptor.h"
#include "qbsvrl6/support/spool.h"

namespace qbsvrl6 {

// The path of a file to read.
struct FilePath {
    FilePath(std::string name) : path(std::move(name)) {}
    FilePath(std::string name, bool withoutLinks) : path(std::move(name)), isWithoutLinks(withoutLinks) {}

    std::string path;
    // The path was checked and has no symbolic links. Opening it fails if somebody has put one into it since,
    // so that only the file that was checked is read.
    bool isWithoutLinks = false;
};

// A regular file, read from start to end.
class InputFile {
public:
    // Raises EngineError that names the path: FileNotFound, FileUnreadable (also for a directory or a pipe),
    // NotAllowed for a path that should have no symbolic link. Raises MachineError if descriptors run out.
    explicit InputFile(FilePath path);

    // The size when the file was opened.
    std::uintmax_t size() const { return size_; }
    // Reads at most `size` bytes; 0 only at the end. Raises EngineError as the constructor does.
    std::size_t read(char* to, std::size_t size);

private:
    std::string path_;
    Descriptor file_;
    std::uintmax_t size_ = 0;
};

// The bytes of a file, with SourceText::kReadAhead bytes of capacity after them. Raises EngineError that
// names the path: FileNotFound, FileUnreadable (also for a directory), LimitExceeded beyond `maxBytes`.
// Raises MachineError if descriptors or memory run out.
std::string readFile(const FilePath& path, std::size_t maxBytes);

// Writes the whole file or leaves the old one in place, as larkspur::WriteWholeFile does. Creates missing
// directories. Raises EngineError (FileUnwritable) that names the path and the system's cause.
void writeFile(const std::string& path, std::string_view bytes);
void writeFile(const std::string& path, const Spool& bytes);

// The directory part of a path, ending in "/"; empty if the path has none.
std::string directoryOf(std::string_view path);

}  // namespace qbsvrl6

#endif

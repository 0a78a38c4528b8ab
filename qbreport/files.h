// Files that the program itself reads and writes. The engine writes the documents.
#ifndef QBSVR_QBREPORT_FILES_H
#define QBSVR_QBREPORT_FILES_H

#include <cstddef>
#include <string>
#include <string_view>

namespace qbreport {

enum class FileKind { None, Regular, Folder, Stream };  // Stream: a pipe, a device, a socket

FileKind fileKind(const std::string& path);
bool isSameFile(const std::string& a, const std::string& b);

// The first bytes of a file or pipe, at most `most` of them; "-" is standard input. Raises Failure.
std::string readBytes(const std::string& path, std::size_t most = static_cast<std::size_t>(-1));

// Writes a file as a whole or not at all. Raises Failure, also for a file that exists if `replaces` is false.
void writeFile(const std::string& path, std::string_view bytes, bool replaces);

// The part after the last dot of the name, in lower case; empty if there is none.
std::string extensionOf(const std::string& path);
// The path without its extension.
std::string withoutExtension(const std::string& path);

// A file to read exists and is no folder. Otherwise raises Failure, which names the nearest file in its
// folder with one of the extensions (".qbf .xml"). "-" and web addresses are not looked at.
void requireFile(const std::string& path, std::string_view extensions);

}  // namespace qbreport

#endif

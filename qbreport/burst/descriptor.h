// Calls on open files. Each function raises Failure with the path and the cause.
#ifndef QBSVR_QBREPORT_BURST_DESCRIPTOR_H
#define QBSVR_QBREPORT_BURST_DESCRIPTOR_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "qbreport/descriptor.h"

namespace qbreport {

// `error` is an errno. A full disk and a lost right have a remedy in their message.
[[noreturn]] void failFile(const std::string& path, int error);

Descriptor openToRead(const std::string& path);
// Creates the file if there is none. `isEmptied`: its content is removed.
Descriptor openToWrite(const std::string& path, bool isEmptied);
// A file without a name, which disappears when it is closed.
Descriptor openTemporary();

std::uint64_t sizeOf(const Descriptor& file, const std::string& path);
// Returns fewer bytes than asked for at the end of the file only.
std::size_t readAt(const Descriptor& file, std::uint64_t offset, char* bytes, std::size_t size,
                   const std::string& path);
void write(const Descriptor& file, std::string_view bytes, const std::string& path);
void writeAt(const Descriptor& file, std::uint64_t offset, std::string_view bytes, const std::string& path);
void truncate(const Descriptor& file, std::uint64_t size, const std::string& path);
// The file's content is on the disk when the function returns.
void synchronize(const Descriptor& file, const std::string& path);
// The same for everything that was written to the file system of the folder.
void synchronizeAll(const std::string& folder);

// No other process may hold the lock of the file. It ends with the descriptor.
void holdLock(const Descriptor& file, const std::string& path);

void rename(const std::string& from, const std::string& to);
void remove(const std::string& path);      // also if there is no such file
void makeFolder(const std::string& path);  // and those above it
bool exists(const std::string& path);

}  // namespace qbreport

#endif

#include "qbreport/burst/descriptor.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "qbreport/failure.h"

namespace qbreport {

void failFile(const std::string& path, int error) {
    const char* remedy = error == ENOSPC || error == EDQUOT ? "; free some space and continue with --resume"
                         : error == EACCES || error == EROFS || error == EPERM
                             ? "; allow writing there and continue with --resume"
                             : "";
    throw Failure("\"" + path + "\": " + std::strerror(error) + remedy);
}

Descriptor openToRead(const std::string& path) {
    Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.isOpen()) throw Failure("\"" + path + "\": " + std::strerror(errno));
    return file;
}

Descriptor openToWrite(const std::string& path, bool isEmptied) {
    Descriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | (isEmptied ? O_TRUNC : 0), 0666));
    if (!file.isOpen()) failFile(path, errno);
    return file;
}

Descriptor openTemporary() {
    const char* const variable = std::getenv("TMPDIR");
    const std::string folder = variable != nullptr && *variable != '\0' ? variable : "/tmp";
    Descriptor file(::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (file.isOpen()) return file;
    std::string path = folder + "/qbreport.XXXXXX";
    Descriptor named(::mkostemp(path.data(), O_CLOEXEC));
    if (!named.isOpen()) failFile(folder, errno);
    ::unlink(path.c_str());
    return named;
}

std::uint64_t sizeOf(const Descriptor& file, const std::string& path) {
    struct stat status {};
    if (::fstat(file.number(), &status) != 0) failFile(path, errno);
    return static_cast<std::uint64_t>(status.st_size);
}

std::size_t readAt(const Descriptor& file, std::uint64_t offset, char* bytes, std::size_t size,
                   const std::string& path) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t read =
            ::pread(file.number(), bytes + done, size - done, static_cast<off_t>(offset + done));
        if (read < 0 && errno == EINTR) continue;
        if (read < 0) failFile(path, errno);
        if (read == 0) break;
        done += static_cast<std::size_t>(read);
    }
    return done;
}

void write(const Descriptor& file, std::string_view bytes, const std::string& path) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(file.number(), bytes.data(), bytes.size());
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            failFile(path, errno);
        }
    }
}

void writeAt(const Descriptor& file, std::uint64_t offset, std::string_view bytes, const std::string& path) {
    if (::lseek(file.number(), static_cast<off_t>(offset), SEEK_SET) < 0) failFile(path, errno);
    write(file, bytes, path);
}

void truncate(const Descriptor& file, std::uint64_t size, const std::string& path) {
    if (::ftruncate(file.number(), static_cast<off_t>(size)) != 0 ||
        ::lseek(file.number(), static_cast<off_t>(size), SEEK_SET) < 0) {
        failFile(path, errno);
    }
}

void synchronize(const Descriptor& file, const std::string& path) {
    if (::fdatasync(file.number()) != 0 && errno != EINVAL) failFile(path, errno);
}

void synchronizeAll(const std::string& folder) {
    const Descriptor directory = openToRead(folder.empty() ? "." : folder);
    if (::syncfs(directory.number()) != 0) failFile(folder, errno);
}

void holdLock(const Descriptor& file, const std::string& path) {
    if (::flock(file.number(), LOCK_EX | LOCK_NB) == 0) return;
    if (errno != EWOULDBLOCK) return;  // a file system without locks
    throw Failure("another process is writing \"" + path + "\"; wait for its end, or end it");
}

void rename(const std::string& from, const std::string& to) {
    if (::rename(from.c_str(), to.c_str()) != 0) failFile(to, errno);
}

void remove(const std::string& path) {
    if (::unlink(path.c_str()) != 0 && errno != ENOENT) failFile(path, errno);
}

void makeFolder(const std::string& path) {
    if (path.empty()) return;
    std::error_code failed;
    std::filesystem::create_directories(path, failed);
    if (failed) failFile(path, failed.value());
}

bool exists(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0;
}

}  // namespace qbreport

#include "qbsvrl6/support/temporary_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <utility>

#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

namespace {

std::string temporaryFolder() {
    // A program that runs with more rights than its caller ignores the caller's environment.
    const char* const folder = ::secure_getenv("TMPDIR");
    return folder != nullptr && *folder == '/' ? folder : "/tmp";
}

int openUnnamed(const std::string& folder) {
    const int file = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    // Some file systems need a name, which is removed at once; old kernels take the folder for the file.
    if (file >= 0 || (errno != EOPNOTSUPP && errno != EISDIR)) return file;
    std::string path = folder + "/qbsvrl6-XXXXXX";
    const int named = ::mkostemp(path.data(), O_CLOEXEC);
    if (named >= 0) ::unlink(path.c_str());
    return named;
}

}  // namespace

TemporaryFile::TemporaryFile(std::string content)
    : content_(std::move(content)), folder_(temporaryFolder()), file_(openUnnamed(folder_)) {
    if (!file_.valid()) fail("no temporary file", errno);
}

std::uint64_t TemporaryFile::append(std::string_view bytes) {
    const std::uint64_t start = size_;
    for (std::uint64_t at = start; !bytes.empty();) {
        const ssize_t count = ::pwrite(file_.number(), bytes.data(), bytes.size(), static_cast<off_t>(at));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) fail("a temporary file is not written", count == 0 ? ENOSPC : errno);
        bytes.remove_prefix(static_cast<std::size_t>(count));
        at += static_cast<std::uint64_t>(count);
        size_ = at;
    }
    return start;
}

void TemporaryFile::read(std::uint64_t offset, char* to, std::size_t size) const {
    while (size > 0) {
        const ssize_t count = ::pread(file_.number(), to, size, static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) fail("a temporary file is not read", count == 0 ? EIO : errno);
        to += count;
        offset += static_cast<std::uint64_t>(count);
        size -= static_cast<std::size_t>(count);
    }
}

void TemporaryFile::fail(const std::string& doing, int cause) const {
    throw MachineError(content_ + ": " + doing + " in " + folder_ + ": " +
                       std::generic_category().message(cause));
}

}  // namespace qbsvrl6

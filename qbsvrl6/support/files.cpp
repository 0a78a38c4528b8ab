#include "qbsvrl6/support/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <system_error>
#include <utility>

#include "common/whole_file.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/source_text.h"

namespace qbsvrl6 {

namespace {

[[noreturn]] void fail(ErrorCode code, const std::string& path, int cause) {
    const std::string message = std::generic_category().message(cause);
    if (isShortage(cause)) throw MachineError(placedMessage(path, {}, message));
    throw EngineError(code, message, {path});
}

void makeDirectoryOf(const std::string& path) {
    const std::string directory = directoryOf(path);
    std::error_code failed;
    if (!directory.empty()) std::filesystem::create_directories(directory, failed);
    if (failed) {
        throw EngineError(ErrorCode::FileUnwritable, "its directory can't be made: " + failed.message(),
                          {path});
    }
}

bool writeAll(int descriptor, const Spool& bytes) {
    constexpr std::size_t kBytesAtOnce = 256u << 10;
    std::string part(static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), kBytesAtOnce)), '\0');
    for (std::uint64_t at = 0; at < bytes.size();) {
        const ssize_t count = ::write(descriptor, part.data(), bytes.read(at, part.data(), part.size()));
        if (count < 0 && errno != EINTR) return false;
        if (count > 0) at += static_cast<std::uint64_t>(count);
    }
    return true;
}

void check(const larkspur::WholeFileResult& result, const std::string& path) {
    if (result.step == larkspur::WholeFileStep::Done) return;
    if (result.error == ENXIO) {
        throw EngineError(ErrorCode::FileUnwritable, "nothing reads from this pipe", {path});
    }
    fail(ErrorCode::FileUnwritable, path, result.error);
}

// O_NONBLOCK: otherwise, opening a pipe would wait for its writer.
constexpr int kReadFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK;

// Opens an absolute path folder by folder, because O_NOFOLLOW is about the last name alone. (openat2 would do
// that in one call, but containers often forbid it.)
Descriptor openWithoutLinks(const std::string& path) {
    Descriptor folder(::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
    std::size_t start = 1;
    for (std::size_t end = 0; folder.valid() && (end = path.find('/', start)) != std::string::npos;) {
        const std::string name = path.substr(start, end - start);
        folder = Descriptor(
            ::openat(folder.number(), name.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        start = end + 1;
    }
    if (!folder.valid()) return folder;
    return Descriptor(::openat(folder.number(), path.c_str() + start, kReadFlags | O_NOFOLLOW));
}

}  // namespace

InputFile::InputFile(FilePath path)
    : path_(std::move(path.path)),
      file_(path.isWithoutLinks ? openWithoutLinks(path_) : Descriptor(::open(path_.c_str(), kReadFlags))) {
    if (!file_.valid()) {
        // How O_NOFOLLOW fails: at a folder, and at a file.
        if (path.isWithoutLinks && (errno == ENOTDIR || errno == ELOOP)) {
            throw EngineError(ErrorCode::NotAllowed, "replaced by a symbolic link while it was opened",
                              {path_});
        }
        fail(errno == ENOENT || errno == ENOTDIR ? ErrorCode::FileNotFound : ErrorCode::FileUnreadable, path_,
             errno);
    }
    struct stat status {};
    if (::fstat(file_.number(), &status) != 0) fail(ErrorCode::FileUnreadable, path_, errno);
    if (!S_ISREG(status.st_mode)) {
        throw EngineError(ErrorCode::FileUnreadable, "not a regular file", {path_});
    }
    size_ = static_cast<std::uintmax_t>(status.st_size);
}

std::size_t InputFile::read(char* to, std::size_t size) {
    for (;;) {
        const ssize_t count = ::read(file_.number(), to, size);
        if (count >= 0) return static_cast<std::size_t>(count);
        if (errno != EINTR) fail(ErrorCode::FileUnreadable, path_, errno);
    }
}

std::string readFile(const FilePath& path, std::size_t maxBytes) {
    InputFile file(path);
    if (file.size() > maxBytes) {
        throw EngineError(ErrorCode::LimitExceeded, "larger than " + std::to_string(maxBytes) + " bytes",
                          {path.path});
    }
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(file.size()) + SourceText::kReadAhead);
    bytes.resize(static_cast<std::size_t>(file.size()));
    std::size_t length = 0;
    while (length < bytes.size()) {
        const std::size_t count = file.read(bytes.data() + length, bytes.size() - length);
        if (count == 0) break;  // the file has shrunk in the meantime
        length += count;
    }
    bytes.resize(length);
    return bytes;
}

void writeFile(const std::string& path, std::string_view bytes) {
    makeDirectoryOf(path);
    check(larkspur::WriteWholeFile(path, bytes.data(), bytes.size()), path);
}

void writeFile(const std::string& path, const Spool& bytes) {
    makeDirectoryOf(path);
    const auto write = [&](int descriptor) { return writeAll(descriptor, bytes); };
    check(larkspur::WriteWholeFile(path, write), path);
}

std::string directoryOf(std::string_view path) {
    return std::string(path.substr(0, path.rfind('/') + 1));  // npos + 1 is 0
}

}  // namespace qbsvrl6

#include "qbsvrl6/support/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/source_text.h"

namespace qbsvrl6 {

namespace {

[[noreturn]] void fail(ErrorCode code, const std::string& path, int cause) {
    throw EngineError(code, std::generic_category().message(cause), {path});
}

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() { close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    bool valid() const { return number_ >= 0; }
    int number() const { return number_; }
    // False where the system reports only now that a write was lost.
    bool close() {
        const int number = number_;
        number_ = -1;
        return number < 0 || ::close(number) == 0;
    }

private:
    int number_;
};

bool writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

void writeDirectly(const std::string& path, std::string_view bytes) {
    Descriptor file(::open(path.c_str(), O_WRONLY | O_CLOEXEC));
    if (!file.valid() || !writeAll(file.number(), bytes) || !file.close()) {
        fail(ErrorCode::FileUnwritable, path, errno);
    }
}

std::string temporaryName(const std::string& path) {
    static std::atomic<unsigned> counter{0};
    return path + "." + std::to_string(::getpid()) + "-" + std::to_string(counter++) + ".tmp";
}

}  // namespace

std::string readFile(const std::string& path, std::size_t maxBytes) {
    // Not blocking: opening a pipe would wait for its writer.
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file.valid()) {
        fail(errno == ENOENT || errno == ENOTDIR ? ErrorCode::FileNotFound : ErrorCode::FileUnreadable, path,
             errno);
    }
    struct stat status {};
    if (::fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode)) {
        throw EngineError(ErrorCode::FileUnreadable, "not a regular file", {path});
    }
    if (static_cast<std::uintmax_t>(status.st_size) > maxBytes) {
        throw EngineError(ErrorCode::LimitExceeded, "larger than " + std::to_string(maxBytes) + " bytes",
                          {path});
    }
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(status.st_size) + SourceText::kReadAhead);
    bytes.resize(static_cast<std::size_t>(status.st_size));
    std::size_t length = 0;
    while (length < bytes.size()) {
        const ssize_t count = ::read(file.number(), bytes.data() + length, bytes.size() - length);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) fail(ErrorCode::FileUnreadable, path, errno);
        if (count == 0) break;  // the file shrank meanwhile
        length += static_cast<std::size_t>(count);
    }
    bytes.resize(length);
    return bytes;
}

void writeFile(const std::string& path, std::string_view bytes) {
    namespace fs = std::filesystem;
    const std::string directory = directoryOf(path);
    std::error_code failed;
    if (!directory.empty()) fs::create_directories(directory, failed);
    if (failed) {
        throw EngineError(ErrorCode::FileUnwritable, "its directory can't be made: " + failed.message(),
                          {path});
    }

    struct stat existing {};
    const bool exists = ::stat(path.c_str(), &existing) == 0;
    if (exists && !S_ISREG(existing.st_mode)) return writeDirectly(path, bytes);

    // A link is kept and its target replaced.
    fs::path target = exists ? fs::canonical(path, failed) : fs::path(path);
    if (failed) target = path;
    const std::string temporary = temporaryName(target.string());
    Descriptor file(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!file.valid()) fail(ErrorCode::FileUnwritable, path, errno);
    if (exists) ::fchmod(file.number(), existing.st_mode & 07777);
    if (!writeAll(file.number(), bytes) || !file.close() ||
        ::rename(temporary.c_str(), target.c_str()) != 0) {
        const int cause = errno;
        ::unlink(temporary.c_str());
        fail(ErrorCode::FileUnwritable, path, cause);
    }
}

std::string directoryOf(std::string_view path) {
    return std::string(path.substr(0, path.rfind('/') + 1));  // npos + 1 is 0
}

}  // namespace qbsvrl6

#include "qbsvrl6/support/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

namespace {

[[noreturn]] void fail(ErrorCode code, const std::string& path, const std::string& what, int cause) {
    throw EngineError(code, what + ": " + std::generic_category().message(cause), {path});
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
        fail(ErrorCode::FileUnwritable, path, "can't write the file", errno);
    }
}

std::string temporaryName(const std::string& path) {
    static std::atomic<unsigned> counter{0};
    return path + "." + std::to_string(::getpid()) + "-" + std::to_string(counter++) + ".tmp";
}

}  // namespace

std::string readFile(const std::string& path, std::size_t maxBytes) {
    Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.valid()) {
        fail(errno == ENOENT || errno == ENOTDIR ? ErrorCode::FileNotFound : ErrorCode::FileUnreadable, path,
             "can't open the file", errno);
    }
    struct stat status {};
    if (::fstat(file.number(), &status) != 0) {
        fail(ErrorCode::FileUnreadable, path, "can't read the file", errno);
    }
    std::string bytes;
    std::size_t length = 0;
    // One byte more than expected, so that the usual file ends with the first read that gives nothing.
    bytes.resize(S_ISREG(status.st_mode) ? std::min(static_cast<std::size_t>(status.st_size), maxBytes) + 1
                                         : 65536);
    while (true) {
        const ssize_t count = ::read(file.number(), bytes.data() + length, bytes.size() - length);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) fail(ErrorCode::FileUnreadable, path, "can't read the file", errno);
        if (count == 0) break;
        length += static_cast<std::size_t>(count);
        if (length > maxBytes) {
            throw EngineError(ErrorCode::LimitExceeded,
                              "the file is larger than " + std::to_string(maxBytes) + " bytes", {path});
        }
        if (length == bytes.size()) bytes.resize(2 * length);
    }
    bytes.resize(length);
    return bytes;
}

void writeFile(const std::string& path, std::string_view bytes) {
    namespace fs = std::filesystem;
    const std::string directory = directoryOf(path);
    std::error_code failed;
    if (!directory.empty()) fs::create_directories(directory, failed);
    if (failed) fail(ErrorCode::FileUnwritable, path, "can't make the directory", failed.value());

    struct stat existing {};
    const bool exists = ::stat(path.c_str(), &existing) == 0;
    if (exists && !S_ISREG(existing.st_mode)) return writeDirectly(path, bytes);

    // A link is kept and its target replaced.
    fs::path target = exists ? fs::canonical(path, failed) : fs::path(path);
    if (failed) target = path;
    const std::string temporary = temporaryName(target.string());
    Descriptor file(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!file.valid()) fail(ErrorCode::FileUnwritable, path, "can't write the file", errno);
    if (exists) ::fchmod(file.number(), existing.st_mode & 07777);
    if (!writeAll(file.number(), bytes) || !file.close() ||
        ::rename(temporary.c_str(), target.c_str()) != 0) {
        const int cause = errno;
        ::unlink(temporary.c_str());
        fail(ErrorCode::FileUnwritable, path, "can't write the file", cause);
    }
}

std::string directoryOf(std::string_view path) {
    return std::string(path.substr(0, path.rfind('/') + 1));  // npos + 1 is 0
}

}  // namespace qbsvrl6

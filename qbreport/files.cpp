#include "qbreport/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <vector>

#include "qbreport/console.h"
#include "qbreport/failure.h"
#include "qbreport/interrupt.h"
#include "qbreport/suggestion.h"

namespace qbreport {

namespace {

[[noreturn]] void fail(const std::string& path, int error) {
    throw Failure("\"" + path + "\": " + std::strerror(error));
}

std::string shownPath(const std::string& path) { return path == kStandardStream ? "standard input" : path; }

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() {
        if (number_ > STDERR_FILENO) ::close(number_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int number() const { return number_; }

private:
    int number_;
};

std::vector<std::string> filesIn(const std::filesystem::path& folder, std::string_view extensions) {
    std::vector<std::string> names;
    std::error_code failed;
    for (std::filesystem::directory_iterator entry(folder, failed), end; !failed && entry != end;
         entry.increment(failed)) {
        const std::string extension = "." + extensionOf(entry->path().filename().string());
        if ((" " + std::string(extensions) + " ").find(" " + extension + " ") == std::string::npos) continue;
        names.push_back(entry->path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace

FileKind fileKind(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return FileKind::None;
    return S_ISREG(status.st_mode)   ? FileKind::Regular
           : S_ISDIR(status.st_mode) ? FileKind::Folder
                                     : FileKind::Stream;
}

bool isSameFile(const std::string& a, const std::string& b) {
    struct stat first {};
    struct stat second {};
    return ::stat(a.c_str(), &first) == 0 && ::stat(b.c_str(), &second) == 0 &&
           first.st_ino == second.st_ino && first.st_dev == second.st_dev;
}

std::string readBytes(const std::string& path, std::size_t most) {
    const Descriptor file(path == kStandardStream ? STDIN_FILENO
                                                  : ::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.number() < 0) fail(path, errno);
    std::string bytes;
    constexpr std::size_t kStep = 1 << 16;
    for (std::size_t size = 0; size < most;) {
        if (bytes.size() < size + kStep) bytes.resize(2 * size + kStep);
        const ssize_t read = ::read(file.number(), &bytes[size], std::min(bytes.size(), most) - size);
        if (read < 0 && errno == EINTR) {
            if (isInterrupted()) throw Failure("");
            continue;
        }
        if (read < 0) fail(shownPath(path), errno);
        size += static_cast<std::size_t>(read);
        if (read == 0 || size == most) {
            bytes.resize(size);
            return bytes;
        }
    }
    return bytes;
}

void writeFile(const std::string& path, std::string_view bytes, bool replaces) {
    std::string draft = path + ".XXXXXX";
    const Descriptor file(::mkstemp(draft.data()));
    if (file.number() < 0) fail(path, errno);
    const mode_t mask = ::umask(0);
    ::umask(mask);
    int error = writeAll(file.number(), bytes);
    if (error == 0 && ::fchmod(file.number(), 0666 & ~mask) != 0) error = errno;
    if (error == 0 &&
        (replaces ? ::rename(draft.c_str(), path.c_str()) : ::link(draft.c_str(), path.c_str())) != 0) {
        error = errno;
    }
    if (error != 0 || !replaces) ::unlink(draft.c_str());
    if (error != 0) fail(path, error);
}

std::string extensionOf(const std::string& path) {
    const std::string name = path.substr(path.rfind('/') + 1);  // npos + 1 is 0
    const std::size_t dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0) return "";
    std::string extension = name.substr(dot + 1);
    for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return extension;
}

std::string withoutExtension(const std::string& path) {
    const std::string extension = extensionOf(path);
    return extension.empty() ? path : path.substr(0, path.size() - extension.size() - 1);
}

void requireFile(const std::string& path, std::string_view extensions) {
    if (path == kStandardStream || path.find("://") != std::string::npos || path.starts_with("file:")) return;
    if (path.empty()) throw WrongUse("the name of a file is empty");
    const FileKind kind = fileKind(path);
    if (kind == FileKind::Folder) throw Failure("\"" + path + "\" is a folder; name a file in it");
    if (kind != FileKind::None) return;
    if (errno != ENOENT && errno != ENOTDIR) fail(path, errno);
    const std::filesystem::path wanted(path);
    const std::filesystem::path folder = wanted.has_parent_path() ? wanted.parent_path() : ".";
    if (fileKind(folder.string()) != FileKind::Folder) {
        throw Failure("there is no folder \"" + folder.string() + "\" for \"" + path + "\"");
    }
    const std::string where = wanted.has_parent_path() ? "in \"" + folder.string() + "\"" : "in this folder";
    throw Failure("there is no file \"" + path + "\"" +
                  suggestion(wanted.filename().string(), filesIn(folder, extensions), where));
}

}  // namespace qbreport

#include "common/whole_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <string_view>
#include <utility>

namespace larkspur {

namespace {

class Descriptor {
public:
    explicit Descriptor(int number = -1) : m_Number(number) {}
    Descriptor(Descriptor&& other) noexcept : m_Number(std::exchange(other.m_Number, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        Close();
        m_Number = std::exchange(other.m_Number, -1);
        return *this;
    }
    ~Descriptor() { Close(); }

    bool IsOpen() const { return m_Number >= 0; }
    int Number() const { return m_Number; }
    // Returns false if the system reports only now that a write was lost.
    bool Close() { return m_Number < 0 || ::close(std::exchange(m_Number, -1)) == 0; }

private:
    int m_Number;
};

bool WriteAll(int descriptor, std::string_view bytes) {
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

str DirectoryOf(const str& path) {
    const std::size_t slash = path.rfind('/');
    return slash == str::npos ? "./" : path.substr(0, slash + 1);
}

// A new file in the directory of the file that it will replace.
class Draft {
public:
    explicit Draft(const str& target) : m_Target(target), m_Directory(DirectoryOf(target)) {}
    ~Draft() {
        if (!m_Name.empty()) ::unlink(m_Name.c_str());
    }
    Draft(const Draft&) = delete;
    Draft& operator=(const Draft&) = delete;

    int Number() const { return m_File.Number(); }

    // Opens a file without a name. Returns false if the system does not support such files, or can't name
    // them later.
    bool OpenUnnamed() {
        m_File = Descriptor(::open(m_Directory.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666));
        return m_File.IsOpen() && ::access(Link().c_str(), F_OK) == 0;
    }
    bool OpenNamed() {
        return MakeName([this](const str& name) {
            m_File = Descriptor(::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
            return m_File.IsOpen();
        });
    }

    // Moves it to its target. `replaces` means that the target is known to exist.
    bool Place(bool replaces) {
        const auto link = [this](const str& name) {
            return ::linkat(AT_FDCWD, Link().c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
        };
        if (m_Name.empty()) {
            if (!replaces && link(m_Target)) return true;
            if (!MakeName(link)) return false;
        }
        if (!m_File.Close() || ::rename(m_Name.c_str(), m_Target.c_str()) != 0) return false;
        m_Name.clear();
        return true;
    }

private:
    str Link() const { return "/proc/self/fd/" + std::to_string(m_File.Number()); }

    template <class Make>
    bool MakeName(Make make) {
        static std::atomic<unsigned> counter{0};
        constexpr int kTries = 1000;  // killed processes with the same number may have left files
        for (int i = 0; i < kTries; ++i) {
            str name = m_Directory + ".qbsvr-" + std::to_string(::getpid()) + "-" +
                       std::to_string(counter++) + ".tmp";
            if (make(name)) {
                m_Name = std::move(name);
                return true;
            }
            if (errno != EEXIST) break;
        }
        return false;
    }

    str m_Target, m_Directory;
    str m_Name;  // while it has a temporary one
    Descriptor m_File;
};

void KeepRights(int descriptor, const struct stat& before) {
    // Set-user-ID and set-group-ID bits are kept only if the file keeps its owner.
    const bool sameOwner = ::fchown(descriptor, before.st_uid, before.st_gid) == 0;
    ::fchmod(descriptor, before.st_mode & (sameOwner ? 07777 : 0777));
}

using Write = std::function<bool(int descriptor)>;

WholeFileResult Replace(const str& target, const struct stat* before, const Write& write, bool unnamed) {
    Draft draft(target);
    if (!(unnamed ? draft.OpenUnnamed() : draft.OpenNamed())) return {WholeFileStep::Open, errno};
    if (before != nullptr) KeepRights(draft.Number(), *before);
    if (!write(draft.Number())) return {WholeFileStep::Write, errno};
    if (!draft.Place(before != nullptr)) return {WholeFileStep::Open, errno};
    return {};
}

WholeFileResult WriteInPlace(Descriptor& file, bool regular, const Write& write) {
    const int flags = ::fcntl(file.Number(), F_GETFL);
    if (flags >= 0) ::fcntl(file.Number(), F_SETFL, flags & ~O_NONBLOCK);
    if ((regular && ::ftruncate(file.Number(), 0) != 0) || !write(file.Number()) || !file.Close()) {
        return {WholeFileStep::Write, errno};
    }
    return {};
}

// Whether the error means that the directory accepts no new entry, although the file itself may be writable.
// False for all other errors: on a full disk, writing in place would leave part of the file.
bool CanOnlyBeWrittenInPlace(int error) {
    return error == EACCES || error == EPERM || error == EROFS || error == EBUSY || error == ELOOP;
}

// Follows links to the name that a replacement must have, even if no file exists there yet. Returns false if
// there is no such name: a link in /proc can lead to an open file.
bool ResolveLinks(str& path) {
    constexpr int kMostLinks = 40;  // the kernel's limit
    char to[PATH_MAX];
    for (int i = 0; i < kMostLinks; ++i) {
        if (path.starts_with("/proc/")) return false;
        const ssize_t length = ::readlink(path.c_str(), to, sizeof to);
        if (length < 0) return true;
        const std::string_view link(to, static_cast<std::size_t>(length));
        path = link.starts_with('/') ? str(link) : DirectoryOf(path).append(link);
    }
    return false;
}

}  // namespace

WholeFileResult WriteWholeFile(const str& path, const void* data, std::size_t size) {
    const std::string_view bytes(static_cast<const char*>(data), size);
    return WriteWholeFile(path, [bytes](int descriptor) { return WriteAll(descriptor, bytes); });
}

WholeFileResult WriteWholeFile(const str& path, const Write& write) {
    // Non-blocking: otherwise, opening a pipe would wait for its reader.
    Descriptor present(::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    const int openError = errno;
    struct stat before {};
    if (present.IsOpen()) {
        if (::fstat(present.Number(), &before) != 0) return {WholeFileStep::Open, errno};
        if (!S_ISREG(before.st_mode)) return WriteInPlace(present, false, write);
    } else if (openError != ENOENT || path.empty()) {
        return {WholeFileStep::Open, openError};
    }

    str target = path;
    WholeFileResult result{WholeFileStep::Open, ELOOP};
    if (ResolveLinks(target)) {
        const struct stat* const replaced = present.IsOpen() ? &before : nullptr;
        result = Replace(target, replaced, write, true);
        if (result.step == WholeFileStep::Open) result = Replace(target, replaced, write, false);
    }
    return present.IsOpen() && CanOnlyBeWrittenInPlace(result.error) ? WriteInPlace(present, true, write)
                                                                     : result;
}

}  // namespace larkspur

#include "qbsvrl6/support/log.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <mutex>
#include <new>
#include <utility>

#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/descriptor.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/messages.h"

namespace qbsvrl6 {

namespace {

// The directory `name` in `parent`, created for the user alone if it is missing. Symbolic links are not
// followed.
Descriptor openDirectory(const Descriptor& parent, const char* name) {
    if (!parent.valid()) return Descriptor();
    ::mkdirat(parent.number(), name, 0700);
    return Descriptor(::openat(parent.number(), name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

// Opens only a folder that exists, so that a mistyped name does not create one.
Descriptor openExisting(const std::string& path) {
    return Descriptor(path.empty() ? -1 : ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

// Not valid if the user has no such directory.
Descriptor stateDirectory() {
    // A program that runs with more rights than its caller ignores the caller's environment.
    const char* state = ::secure_getenv("XDG_STATE_HOME");
    if (state != nullptr && *state == '/') {
        ::mkdir(state, 0700);
        return openDirectory(openExisting(state), "qbsvrl6");
    }
    const char* home = ::secure_getenv("HOME");
    if (home == nullptr || *home != '/') return Descriptor();
    const Descriptor local = openDirectory(openExisting(home), ".local");
    return openDirectory(openDirectory(local, "state"), "qbsvrl6");
}

constexpr const char* levelName(Severity severity) {
    return severity == Severity::Error ? "error" : severity == Severity::Warning ? "warning" : "info";
}

// "2024-03-05 14:07:09.250 warning 4711 ", in the local time zone.
struct LinePrefix {
    explicit LinePrefix(Severity severity) {
        timespec now{};
        ::clock_gettime(CLOCK_REALTIME, &now);
        tm local{};
        ::localtime_r(&now.tv_sec, &local);
        size = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
        const int rest = std::snprintf(text + size, sizeof text - size, ".%03d %s %ld ",
                                       static_cast<int>(now.tv_nsec / 1'000'000), levelName(severity),
                                       static_cast<long>(::gettid()));
        size += static_cast<std::size_t>(rest);
    }

    char text[96];
    std::size_t size;
};

// Appends lines to a file that is not a link. A file that reaches its size limit becomes the old one.
class RotatingFile {
public:
    RotatingFile(Descriptor directory, mode_t rights) : directory_(std::move(directory)), rights_(rights) {}

    // Returns false if the file cannot be opened for appending.
    bool open() {
        if (!directory_.valid()) return false;
        file_ = Descriptor(::openat(directory_.number(), kName,
                                    O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC,
                                    rights_));
        struct stat status {};
        return file_.valid() && ::fstat(file_.number(), &status) == 0 && S_ISREG(status.st_mode) &&
               status.st_nlink == 1;
    }

    // Needs no memory.
    void write(Severity severity, std::string_view message) {
        LinePrefix prefix(severity);
        char lineEnd = '\n';
        const iovec line[] = {
            {prefix.text, prefix.size}, {const_cast<char*>(message.data()), message.size()}, {&lineEnd, 1}};
        const std::lock_guard lock(mutex_);
        struct stat status {};
        if (::fstat(file_.number(), &status) == 0 &&
            static_cast<std::size_t>(status.st_size) + prefix.size + message.size() + 1 > limits::kLogBytes) {
            rotate();
        }
        // One write, so that lines of several processes don't mix.
        if (::writev(file_.number(), line, 3) < 0) return;
    }

private:
    static constexpr const char* kName = "qbsvrl6.log";
    static constexpr const char* kOldName = "qbsvrl6.log.1";

    // If another process has already done so, its new file is opened.
    void rotate() {
        ::flock(directory_.number(), LOCK_EX);
        struct stat mine {
        }, current{};
        const bool isCurrent = ::fstat(file_.number(), &mine) == 0 &&
                               ::fstatat(directory_.number(), kName, &current, AT_SYMLINK_NOFOLLOW) == 0 &&
                               mine.st_ino == current.st_ino && mine.st_dev == current.st_dev;
        if (isCurrent) ::renameat(directory_.number(), kName, directory_.number(), kOldName);
        Descriptor former = std::move(file_);
        if (!open()) file_ = std::move(former);
        ::flock(directory_.number(), LOCK_UN);
    }

    std::mutex mutex_;
    Descriptor directory_;
    mode_t rights_;
    Descriptor file_;
};

// Null if the file cannot be opened.
std::shared_ptr<RotatingFile> openFile(Descriptor directory, mode_t rights) {
    const auto file = std::make_shared<RotatingFile>(std::move(directory), rights);
    return file->open() ? file : nullptr;
}

class Log {
public:
    void setSetupPath(const std::string& setupPath) {
        const std::lock_guard lock(mutex_);
        setupPath_ = setupPath;
        file_.reset();
    }

    void write(Severity severity, std::string_view message) {
        if (const std::shared_ptr<RotatingFile> file = current()) file->write(severity, message);
    }

private:
    std::shared_ptr<RotatingFile> current() {
        const std::lock_guard lock(mutex_);
        if (!file_) {  // each line tries again: the folder may exist by now
            file_ = openFile(openDirectory(openExisting(setupPath_), "log"), 0640);
            if (!file_) file_ = openFile(stateDirectory(), 0600);
        }
        return file_;
    }

    std::mutex mutex_;
    std::string setupPath_;
    std::shared_ptr<RotatingFile> file_;
};

// Never destroyed: reports may be released by destructors that run at the process's end.
Log& theLog() {
    static Log* const log = new Log;
    return *log;
}

// Escapes control characters, including those from U+0080 to U+009F, as "\n" or "\x1b", and the separators of
// lines and paragraphs (U+2028, U+2029) as "\n".
std::string withoutControls(std::string_view text) {
    std::string shown;
    shown.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const std::string_view rest = text.substr(i);
        const bool isLateControl =
            byte == 0xC2 && rest.size() > 1 && static_cast<unsigned char>(rest[1]) < 0xA0;
        if (byte == '\n') {
            shown += "\\n";
        } else if (byte < 0x20 || byte == 0x7F || isLateControl) {
            const auto code = isLateControl ? static_cast<unsigned char>(rest[1]) : byte;
            ((shown += "\\x") += kHexDigits[code >> 4]) += kHexDigits[code & 15];
            if (isLateControl) ++i;
        } else if (rest.starts_with("\xE2\x80\xA8") || rest.starts_with("\xE2\x80\xA9")) {
            shown += "\\n";
            i += 2;
        } else {
            shown += text[i];
        }
    }
    return shown;
}

// One event is one readable line, whatever file names and texts it quotes.
std::string asOneLine(std::string_view message) {
    constexpr std::size_t kLongest = 4'000;
    std::string line(message);
    if (line.size() > kLongest) {
        std::size_t end = kLongest;
        while (end > 0 && (line[end] & 0xC0) == 0x80) --end;  // not within a character
        line.replace(end, std::string::npos, "...");
    }
    return withoutControls(line);
}

thread_local LogSubject* innermostSubject = nullptr;

void keep(Severity severity, const SourcePlace& place, std::string_view text, const char* code = "") {
    if (Messages* const messages = Messages::current()) {
        messages->add({severity, place, std::string(text), code});
    }
}

// Logging never fails the caller. A line for which there is no memory is replaced by a short one, which needs
// none.
template <class Write>
void quietly(Severity severity, Write&& write) noexcept {
    constexpr std::string_view kReplacement = "out of memory";
    const auto ignoringErrors = [](const auto& action) {
        try {
            action();
        } catch (...) {  // NOLINT(bugprone-empty-catch): there is nobody to tell
        }
    };
    try {
        write();
    } catch (const std::bad_alloc&) {
        ignoringErrors([&] { keep(severity, {}, kReplacement); });
        ignoringErrors([&] { theLog().write(severity, kReplacement); });
    } catch (...) {  // NOLINT(bugprone-empty-catch): there is nobody to tell
    }
}

void write(Severity severity, std::string_view message, TextPosition position, const LogKind& kind) noexcept {
    quietly(severity, [&] {
        LogSubject* const subject = innermostSubject;
        if (subject != nullptr && !subject->hasRoomFor(kind, message)) return;
        keep(severity, {subject == nullptr ? std::string() : subject->name(), position}, message);
        theLog().write(severity, asOneLine(subject != nullptr ? subject->with(message, position)
                                                              : placedMessage({}, position, message)));
    });
}

}  // namespace

void setLogSetupPath(const std::string& setupPath) { theLog().setSetupPath(setupPath); }

void logError(std::string_view message, TextPosition position, const char* file, int line) {
    write(Severity::Error, message, position, {file, line});
}
void logWarning(std::string_view message, TextPosition position, const char* file, int line) {
    write(Severity::Warning, message, position, {file, line});
}
void logInfo(std::string_view message) { write(Severity::Info, message, {}, {"", 0}); }

void logWarningOnce(std::string_view message, const char* file, int line) {
    quietly(Severity::Warning, [&] {
        if (isNewWarning(message)) logWarning(message, {}, file, line);
    });
}

void logFailure(std::string_view function, const SourcePlace& place, std::string_view cause) {
    quietly(Severity::Error, [&] {
        keep(Severity::Error, place, cause);
        theLog().write(Severity::Error, asOneLine(placedMessage(
                                            function, {}, placedMessage(place.file, place.position, cause))));
    });
}

void logFailure(std::string_view function, const EngineError& error) {
    quietly(Severity::Error, [&] {
        keep(Severity::Error, error.place(), error.message(), codeName(error.code()));
        theLog().write(Severity::Error, asOneLine(placedMessage(function, {}, error.what())));
    });
}

bool isNewWarning(std::string_view key) {
    return innermostSubject == nullptr || innermostSubject->isNew(key);
}

LogSubject::LogSubject(std::string subject) : subject_(std::move(subject)), outer_(innermostSubject) {
    innermostSubject = this;
}

LogSubject::~LogSubject() {
    quietly(Severity::Warning, [&] {
        for (const auto& [kind, count] : counts_) {
            if (count.lines <= limits::kLinesOfAKind) continue;
            const std::size_t more = count.lines - limits::kLinesOfAKind;
            const std::string message = std::to_string(more) + " more lines such as: " + count.first;
            keep(Severity::Warning, {subject_, {}}, message);
            theLog().write(Severity::Warning, asOneLine(with(message)));
        }
    });
    innermostSubject = outer_;
}

std::string LogSubject::with(std::string_view message, TextPosition position) const {
    return placedMessage(subject_, position, message);
}

bool LogSubject::hasRoomFor(const LogKind& kind, std::string_view message) {
    constexpr std::size_t kQuoted = 300;
    Count& count = counts_[kind];
    if (++count.lines == 1) count.first = message.substr(0, kQuoted);
    return count.lines <= limits::kLinesOfAKind;
}

bool LogSubject::isNew(std::string_view message) {
    return known_.size() < limits::kKnownWarnings && known_.emplace(message).second;
}

}  // namespace qbsvrl6

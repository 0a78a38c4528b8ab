#include "qbsvrl6/support/log.h"

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <mutex>
#include <new>
#include <system_error>
#include <utility>

#include "qbsvrl6/support/limits.h"

namespace qbsvrl6 {

namespace {

namespace fs = std::filesystem;

fs::path stateDirectory() {
    const char* state = std::getenv("XDG_STATE_HOME");
    if (state != nullptr && *state == '/') return fs::path(state) / "qbsvrl6";
    const char* home = std::getenv("HOME");
    if (home != nullptr && *home == '/') return fs::path(home) / ".local/state/qbsvrl6";
    std::error_code ignored;
    return fs::temp_directory_path(ignored) / "qbsvrl6";
}

// Null where the file can't be opened for appending.
std::shared_ptr<spdlog::logger> openLogger(const fs::path& directory) {
    try {
        auto sink = std::make_shared<spdlog::sinks::basic_file_sink_mt>((directory / "qbsvrl6.log").string());
        auto logger = std::make_shared<spdlog::logger>("qbsvrl6", std::move(sink));
        logger->set_pattern("%Y-%m-%d %H:%M:%S.%e %l %t %v");
        // A line that tells of a failure is on disk when the caller reads "view log file".
        logger->flush_on(spdlog::level::info);
        logger->set_error_handler([](const std::string&) {});
        return logger;
    } catch (const std::exception&) {
        return nullptr;
    }
}

class Log {
public:
    void setSetupPath(const std::string& setupPath) {
        const std::lock_guard lock(mutex_);
        setupPath_ = setupPath;
        logger_.reset();
        opened_ = false;
    }

    void write(spdlog::level::level_enum level, std::string_view message) {
        const std::shared_ptr<spdlog::logger> logger = current();
        if (logger) logger->log(level, message);
    }

private:
    std::shared_ptr<spdlog::logger> current() {
        const std::lock_guard lock(mutex_);
        if (!opened_) {
            opened_ = true;
            if (!setupPath_.empty()) logger_ = openLogger(fs::path(setupPath_) / "log");
            if (!logger_) logger_ = openLogger(stateDirectory());
        }
        return logger_;
    }

    std::mutex mutex_;
    std::string setupPath_;
    bool opened_ = false;
    std::shared_ptr<spdlog::logger> logger_;
};

// Never destroyed: reports may be released by destructors that run at the process's end.
Log& theLog() {
    static Log* const log = new Log;
    return *log;
}

// One event is one line that can be read, whatever file names and texts it quotes.
std::string asOneLine(std::string_view message) {
    constexpr std::size_t kLongest = 4'000;
    std::string line(message);
    if (line.size() > kLongest) {
        std::size_t end = kLongest;
        while (end > 0 && (line[end] & 0xC0) == 0x80) --end;  // not within a character
        line.replace(end, std::string::npos, "...");
    }
    for (char& character : line) {
        if (static_cast<unsigned char>(character) < 0x20) character = ' ';
    }
    return line;
}

thread_local LogSubject* innermostSubject = nullptr;

void write(spdlog::level::level_enum level, std::string_view message) {
    try {
        theLog().write(level, asOneLine(innermostSubject ? innermostSubject->with(message) : message));
    } catch (...) {  // NOLINT(bugprone-empty-catch): logging never fails the caller
    }
}

}  // namespace

void setLogSetupPath(const std::string& setupPath) { theLog().setSetupPath(setupPath); }

void logError(std::string_view message) { write(spdlog::level::err, message); }
void logWarning(std::string_view message) { write(spdlog::level::warn, message); }
void logInfo(std::string_view message) { write(spdlog::level::info, message); }

void logWarningOnce(std::string_view message) {
    try {
        if (innermostSubject == nullptr || innermostSubject->isNew(message)) logWarning(message);
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): as above
    }
}

LogSubject::LogSubject(std::string subject) : subject_(std::move(subject)), outer_(innermostSubject) {
    innermostSubject = this;
}

LogSubject::~LogSubject() { innermostSubject = outer_; }

std::string LogSubject::with(std::string_view message) const {
    return subject_.empty() ? std::string(message) : subject_ + ": " + std::string(message);
}

bool LogSubject::isNew(std::string_view message) {
    return known_.size() < limits::kKnownWarnings && known_.emplace(message).second;
}

}  // namespace qbsvrl6

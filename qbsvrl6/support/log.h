// The engine's log: one line per event, "date time level thread message", with control characters escaped.
//
// The file is log/qbsvrl6.log in the set-up folder, if that exists, or else qbsvrl6/qbsvrl6.log in the user's
// state folder ($XDG_STATE_HOME or ~/.local/state); without either, nothing is logged. At 8 MB it becomes
// qbsvrl6.log.1. It is never opened through a symbolic link. Safe from any thread and in several processes at
// once; logging never fails the caller. Lines about a report are also kept with it (messages.h).
//
// A subject (below) logs only a few lines of each kind, and at its end the number of the others: data with a
// hundred thousand bad pictures must not fill the disk. Lines are of the same kind if the same source line
// logs them.
#ifndef QBSVR_QBSVRL6_SUPPORT_LOG_H
#define QBSVR_QBSVRL6_SUPPORT_LOG_H

#include <compare>
#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

// Sets the folder of the log. Until it is called, the log is in the user's state folder. The file is opened
// when the first line is written.
void setLogSetupPath(const std::string& setupPath);

// The source line that logs a message.
struct LogKind {
    const char* file;
    int line;
    auto operator<=>(const LogKind&) const = default;
};

// `position` is a position in the file that is the subject (below).
void logError(std::string_view message, TextPosition position = {}, const char* file = __builtin_FILE(),
              int line = __builtin_LINE());
void logWarning(std::string_view message, TextPosition position = {}, const char* file = __builtin_FILE(),
                int line = __builtin_LINE());
void logInfo(std::string_view message);
// The failure of a function of the interface, logged as "function: file:line:column: cause".
void logFailure(std::string_view function, const SourcePlace& place, std::string_view cause);
// The same; what() is logged.
void logFailure(std::string_view function, const EngineError& error);
// Logs the message once per subject (below).
void logWarningOnce(std::string_view message, const char* file = __builtin_FILE(),
                    int line = __builtin_LINE());

// Whether a warning with this key is new for the innermost subject. For messages that are expensive to make.
bool isNewWarning(std::string_view key);

// While it exists, the lines of its thread begin with the subject: "subject: message", or with a position
// "subject:12:9: message". Only the innermost subject is used; an empty one adds nothing.
class LogSubject {
public:
    explicit LogSubject(std::string subject);
    ~LogSubject();
    LogSubject(const LogSubject&) = delete;
    LogSubject& operator=(const LogSubject&) = delete;

    const std::string& name() const { return subject_; }
    // The message with the subject.
    std::string with(std::string_view message, TextPosition position = {}) const;

    // Whether the message is new for this subject.
    bool isNew(std::string_view message);

    // Counts a line of the kind. Returns false if there have been enough already.
    bool hasRoomFor(const LogKind& kind, std::string_view message);

private:
    struct Count {
        std::size_t lines = 0;
        std::string first;
    };
    std::string subject_;
    std::set<std::string> known_;
    std::map<LogKind, Count> counts_;
    LogSubject* outer_;
};

}  // namespace qbsvrl6

#endif

// The engine's log: one line per event, "date time level thread message", with control characters escaped.
//
// The file is log/qbsvrl6.log in the set-up folder, if that exists, or else qbsvrl6/qbsvrl6.log in the
// user's state folder ($XDG_STATE_HOME or ~/.local/state); without either there is none. At 8 MB it becomes
// qbsvrl6.log.1. It is never opened through a symbolic link. Safe from any thread and in several processes at
// once; logging never fails the caller.
//
// A subject (below) writes few lines of each kind, and at its end the number of the others: data with a hundred
// thousand wrong pictures must not fill a disk. Lines are of one kind if one statement of the source logs them.
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

// Chooses the log's place. Until it is called, the user's state directory holds the log. The file is opened
// by the first line that is written.
void setLogSetupPath(const std::string& setupPath);

// A position is one in the file that is the subject (below).
struct LogKind {
    const char* file;
    int line;
    auto operator<=>(const LogKind&) const = default;
};
void logError(std::string_view message, TextPosition position = {}, const char* file = __builtin_FILE(),
              int line = __builtin_LINE());
void logWarning(std::string_view message, TextPosition position = {}, const char* file = __builtin_FILE(),
                int line = __builtin_LINE());
void logInfo(std::string_view message);
// Written once per innermost subject (below).
void logWarningOnce(std::string_view message, const char* file = __builtin_FILE(),
                    int line = __builtin_LINE());

// Whether a warning with this key is new to the innermost subject: for messages that are expensive to make.
bool isNewWarning(std::string_view key);

// While it lives, the lines of its thread begin with what they are about: "subject: message", or with a place
// "subject:12:9: message". The innermost one counts; an empty one adds nothing.
class LogSubject {
public:
    explicit LogSubject(std::string subject);
    ~LogSubject();
    LogSubject(const LogSubject&) = delete;
    LogSubject& operator=(const LogSubject&) = delete;

    // The message as such a line has it.
    std::string with(std::string_view message, TextPosition position = {}) const;

    // Whether the message is new to this subject.
    bool isNew(std::string_view message);

    // Counts a line of the kind. False if there were enough.
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

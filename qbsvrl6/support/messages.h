// What is logged about a report, as values for the program.
#ifndef QBSVR_QBSVRL6_SUPPORT_MESSAGES_H
#define QBSVR_QBSVRL6_SUPPORT_MESSAGES_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

enum class Severity { Error = 1, Warning = 2, Info = 3 };  // the numbers are those of QBXSeverity

// The code as programs know it: "budget", "file-not-found". Never null.
const char* codeName(ErrorCode code);

struct Message {
    Severity severity = Severity::Error;
    SourcePlace place;
    std::string text;
    const char* code = "";  // codeName(); empty for warnings, and for errors that are not EngineErrors
};

// The first messages of a report and its last error, in the order in which they were logged. Used by one
// thread at a time.
class Messages {
public:
    Messages() = default;
    ~Messages();
    Messages(const Messages&) = delete;
    Messages& operator=(const Messages&) = delete;

    void add(Message message);
    void clear();

    const std::vector<Message>& all() const { return all_; }
    const std::optional<Message>& lastError() const { return lastError_; }
    std::size_t errorCount() const { return errorCount_; }

    // Where the lines that this thread logs are kept; null: nowhere.
    static Messages* current() noexcept;

private:
    std::vector<Message> all_;
    std::optional<Message> lastError_;
    std::size_t errorCount_ = 0;
};

// While it exists, the lines that its thread logs are kept there. The messages may be destroyed before it.
class MessagesScope {
public:
    explicit MessagesScope(Messages& messages) noexcept;
    ~MessagesScope();
    MessagesScope(const MessagesScope&) = delete;
    MessagesScope& operator=(const MessagesScope&) = delete;

private:
    friend class Messages;
    Messages* messages_;
    MessagesScope* outer_;
};

}  // namespace qbsvrl6

#endif

// The engine's exceptions. They never leave the library: each entry point turns them into a null or a false and
// a line of the log.
#ifndef QBSVR_QBSVRL6_SUPPORT_ERROR_H
#define QBSVR_QBSVRL6_SUPPORT_ERROR_H

#include <stdexcept>
#include <string>
#include <string_view>

namespace qbsvrl6 {

enum class ErrorCode {
    FileNotFound,
    FileUnreadable,
    FileUnwritable,
    NotXml,
    UnknownVersion,
    BadTemplate,
    BadExpression,
    BadData,
    BadEncoding,
    BadPicture,
    FetchFailed,
    LimitExceeded,
    Cancelled,
    NotSupported,
    Internal,
};

// A position in a text. Lines and columns (in characters) count from 1; 0 means unknown.
struct TextPosition {
    int line = 0;
    int column = 0;
};

// Where an error was found.
struct SourcePlace {
    std::string file;
    TextPosition position = {};
};

// "file:line:column: message", without the parts that are unknown.
std::string placedMessage(std::string_view file, TextPosition position, std::string_view message);

// what() reads as placedMessage. All text is UTF-8.
class EngineError : public std::runtime_error {
public:
    EngineError(ErrorCode code, const std::string& message, SourcePlace place = {});

    ErrorCode code() const { return code_; }
    const SourcePlace& place() const { return place_; }

private:
    ErrorCode code_;
    SourcePlace place_;
};

// What the machine lacks: memory, open files, room on a disk, a font. It is no property of what was being read,
// so that nothing may remember it, and no EngineError, so that it passes those who leave out what can't be read:
// the export ends with this cause, and the next one starts afresh.
class MachineError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Whether an errno says that the machine lacks something, rather than something about a file.
bool isShortage(int systemError);

}  // namespace qbsvrl6

#endif

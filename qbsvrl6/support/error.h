// The engine's exceptions. They never leave the library: each entry point converts them into null or zero and
// a line in the log.
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
    BudgetExceeded,
    NotAllowed,  // out of reach (reach.h)
    Cancelled,
    NotSupported,
    MissingLibrary,  // of the system, which the report needs
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

// what() has the form of placedMessage, after the subject if there is one. All text is UTF-8.
class EngineError : public std::runtime_error {
public:
    EngineError(ErrorCode code, const std::string& message, SourcePlace place = {});

    // The same error with "subject: " before what().
    EngineError about(const std::string& subject) const;

    ErrorCode code() const { return code_; }
    const SourcePlace& place() const { return place_; }
    const std::string& message() const { return message_; }  // without the place
    // Whether the error ends the export even where other errors only leave out a picture.
    bool endsExport() const {
        return code_ == ErrorCode::BudgetExceeded || code_ == ErrorCode::Cancelled ||
               code_ == ErrorCode::MissingLibrary;
    }

private:
    EngineError(const std::string& what, const EngineError& error);

    ErrorCode code_;
    SourcePlace place_;
    std::string message_;
};

// A shortage of the machine: memory, open files, disk space, a font. It is not a property of the input, so no
// cache may store it. It is not an EngineError, so that code which leaves out unreadable input does not catch
// it: the export fails with this cause, and the next one tries again.
class MachineError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Whether an errno means a shortage of the machine rather than a problem with a file.
bool isShortage(int systemError);

}  // namespace qbsvrl6

#endif

#include "qbsvrl6/support/error.h"

#include <cerrno>
#include <utility>

namespace qbsvrl6 {

std::string placedMessage(std::string_view file, TextPosition position, std::string_view message) {
    std::string text(file);
    if (position.line > 0) {
        if (!text.empty()) text += ':';
        text += std::to_string(position.line);
        if (position.column > 0) text += ':' + std::to_string(position.column);
    }
    if (!text.empty()) text += ": ";
    return text.append(message);
}

EngineError::EngineError(ErrorCode code, const std::string& message, SourcePlace place)
    : std::runtime_error(placedMessage(place.file, place.position, message)),
      code_(code),
      place_(std::move(place)),
      message_(message) {}

EngineError::EngineError(const std::string& what, const EngineError& error)
    : std::runtime_error(what), code_(error.code_), place_(error.place_), message_(error.message_) {}

EngineError EngineError::about(const std::string& subject) const {
    return {placedMessage(subject, {}, what()), *this};
}

bool isShortage(int systemError) {
    switch (systemError) {
        case EMFILE:
        case ENFILE:
        case ENOMEM:
        case ENOBUFS:
        case EAGAIN:
        case EINTR:
        case EIO:
            return true;
        default:
            return false;
    }
}

}  // namespace qbsvrl6

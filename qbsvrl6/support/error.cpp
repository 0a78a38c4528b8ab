#include "qbsvrl6/support/error.h"

#include <utility>

namespace qbsvrl6 {

namespace {

std::string describe(const std::string& message, const SourcePlace& place) {
    std::string text = place.file;
    if (place.line > 0) {
        if (!text.empty()) text += ':';
        text += std::to_string(place.line);
        if (place.column > 0) text += ':' + std::to_string(place.column);
    }
    if (!text.empty()) text += ": ";
    return text + message;
}

}  // namespace

EngineError::EngineError(ErrorCode code, const std::string& message, SourcePlace place)
    : std::runtime_error(describe(message, place)), code_(code), place_(std::move(place)) {}

}  // namespace qbsvrl6

#include "qbsvrl6/template/reading.h"

#include <algorithm>
#include <utility>

#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/template/raw_characters.h"
#include "qbsvrl6/template/template_io.h"

namespace qbsvrl6 {

void Reading::addError(ErrorCode code, std::string message, std::size_t offset) {
    errors.push_back({code, std::move(message), offset});
    const bool restIsUnknown = code == ErrorCode::LimitExceeded || code == ErrorCode::UnknownVersion;
    if (restIsUnknown || errors.size() > limits::kTemplateErrors) throw ReadingEnds();
}

// One pass over the text for the texts, one for the controls.
void Reading::settlePlaces() {
    const auto settle = [this](auto& found, auto&& take) {
        std::stable_sort(found.begin(), found.end(),
                         [](const auto& left, const auto& right) { return left.offset < right.offset; });
        PlaceCursor cursor(source);
        for (auto& one : found) take(one, cursor.place(one.offset).position);
    };
    settle(texts, [](PlacedText& text, TextPosition position) { text.places->add(text.key, position); });
    settle(controls, [](PlacedControl& found, TextPosition position) { found.control->position = position; });
}

void Reading::fail() {
    std::stable_sort(errors.begin(), errors.end(), [](const FoundError& left, const FoundError& right) {
        return left.offset < right.offset;
    });
    PlaceCursor cursor(source);
    std::vector<EngineError> placed = std::move(libraryErrors);
    for (const FoundError& error : errors) {
        if (placed.size() == limits::kTemplateErrors) {
            placed.emplace_back(ErrorCode::BadTemplate, "there are more errors",
                                SourcePlace{source.origin()});
            break;
        }
        placed.emplace_back(error.code, error.message, cursor.place(error.offset));
    }
    throw TemplateError(std::move(placed));
}

void Reading::logWarnings() {
    for (const RawCharacter& raw : findRawCharacters(source.text(), limits::kTemplateErrors)) {
        warnings.push_back({std::string("a raw \"") + raw.character +
                                "\" in an attribute is not XML; write \"" +
                                (raw.character == '<' ? "&lt;" : "&amp;") + '"',
                            raw.offset});
    }
    std::stable_sort(warnings.begin(), warnings.end());
    if (warnings.size() > limits::kTemplateErrors) warnings.resize(limits::kTemplateErrors);
    const LogSubject subject(source.origin());
    PlaceCursor cursor(source);
    for (const FoundWarning& warning : warnings) {
        logWarning(warning.message, cursor.place(warning.offset).position);
    }
}

}  // namespace qbsvrl6

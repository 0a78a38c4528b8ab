#include "qbreport/kept_messages.h"

#include <string_view>
#include <utility>

namespace qbreport {

namespace {

constexpr std::size_t kMostMessages = 100;

void removeAll(std::string& text, std::string_view part) {
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at)) {
        text.erase(at, part.size());
    }
}

}  // namespace

KeptMessages::KeptMessages(std::string folder) : Messages(Form::Json, true), folder_(std::move(folder)) {}

void KeptMessages::show(const Message& message) {
    if (message.severity == Severity::Info || ++count_ > kMostMessages) return;
    Message shown = message;
    if (!folder_.empty()) {
        removeAll(shown.text, folder_);
        removeAll(shown.file, folder_);
        if (shown.file.starts_with('/')) shown.file.clear();
    }
    json_ += (json_.empty() ? "" : ", ") + asJson(shown);
}

void KeptMessages::forget() {
    json_.clear();
    count_ = 0;
    forgotten_ = warnings();
}

}  // namespace qbreport

#include "qbreport/messages.h"

#include <unistd.h>

#include <string_view>

#include "qbreport/console.h"

namespace qbreport {

namespace {

struct Shown {
    std::string_view name;
    std::string_view colour;
};

constexpr Shown shownAs(Severity severity) {
    switch (severity) {
        case Severity::Error:
            return {"error", "\x1b[1;31m"};
        case Severity::Warning:
            return {"warning", "\x1b[1;35m"};
        case Severity::Info:
            break;
    }
    return {"info", ""};
}

constexpr Severity severityOf(std::int32_t severity) {
    return severity == QBXSeverity_Error     ? Severity::Error
           : severity == QBXSeverity_Warning ? Severity::Warning
                                             : Severity::Info;
}

}  // namespace

Messages::Messages(Form form, bool isQuiet)
    : form_(form), isQuiet_(isQuiet), isColoured_(form == Form::Text && hasColours(STDERR_FILENO)) {}

void Messages::write(const Message& message) {
    if (message.severity == Severity::Error) ++errors_;
    if (message.severity == Severity::Warning) ++warnings_;
    show(message);
}

void Messages::show(const Message& message) {
    if (isQuiet_ && message.severity != Severity::Error) return;
    // There is no place to report that standard error cannot be written.
    static_cast<void>(
        writeAll(STDERR_FILENO, (form_ == Form::Json ? asJson(message) : asText(message)) + "\n"));
}

void Messages::writeThoseOf(tagQBReport* report) {
    const std::uint64_t count = QBXReportGetMessageCount(report);
    for (std::uint64_t i = 0; i < count; ++i) {
        QBXMessage message{};
        message.size = sizeof message;
        if (QBXReportGetMessage(report, i, &message) == 0) break;
        write({severityOf(message.severity), message.text, message.file, message.line, message.column,
               message.code});
    }
    QBXReportClearMessages(report);
}

ExitStatus Messages::status(bool isStrict) const {
    return errors_ > 0                 ? ExitStatus::Failed
           : isStrict && warnings_ > 0 ? ExitStatus::Warnings
                                       : ExitStatus::Good;
}

std::string Messages::asText(const Message& message) const {
    const Shown shown = shownAs(message.severity);
    std::string place = message.file.empty() ? "qbreport" : printable(message.file);
    if (message.line > 0) place += ":" + std::to_string(message.line);
    if (message.line > 0 && message.column > 0) place += ":" + std::to_string(message.column);
    const auto coloured = [&](std::string_view text, std::string_view colour) {
        if (!isColoured_ || colour.empty()) return std::string(text);
        return std::string(colour) + std::string(text) + "\x1b[0m";
    };
    std::string line = coloured(place + ":", "\x1b[1m") + " ";
    if (message.severity != Severity::Info) {
        line += coloured(std::string(shown.name) + ":", shown.colour) + " ";
    }
    return line + printable(message.text);
}

std::string asJson(const Message& message) {
    std::string line = "{\"severity\": " + inJson(shownAs(message.severity).name);
    if (!message.file.empty()) line += ", \"file\": " + inJson(message.file);
    if (message.line > 0) line += ", \"line\": " + std::to_string(message.line);
    if (message.line > 0 && message.column > 0) line += ", \"column\": " + std::to_string(message.column);
    if (!message.code.empty()) line += ", \"code\": " + inJson(message.code);
    return line + ", \"text\": " + inJson(message.text) + "}";
}

}  // namespace qbreport

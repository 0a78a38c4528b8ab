// Messages on standard error: sentences for people, or one JSON object per line for programs.
#ifndef QBSVR_QBREPORT_MESSAGES_H
#define QBSVR_QBREPORT_MESSAGES_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "engine/qbsvr_more.h"
#include "qbreport/failure.h"

namespace qbreport {

enum class Severity { Error, Warning, Info };

struct Message {
    Severity severity = Severity::Error;
    std::string text;
    std::string file = {};  // empty: the message is about the command itself
    int line = 0;           // 0: unknown
    int column = 0;
    std::string code = {};  // of the engine, for programs; empty: none
};

// {"severity": "error", "file": ...}
std::string asJson(const Message& message);

class Messages {
public:
    enum class Form { Text, Json };
    // `isQuiet`: only errors are written.
    Messages(Form form, bool isQuiet);
    virtual ~Messages() = default;
    Messages(const Messages&) = delete;
    Messages& operator=(const Messages&) = delete;

    void write(const Message& message);
    // Writes what the engine has reported about the report, and clears it there.
    void writeThoseOf(tagQBReport* report);

    std::size_t errors() const { return errors_; }
    std::size_t warnings() const { return warnings_; }
    bool isQuiet() const { return isQuiet_; }
    bool isForPeople() const { return form_ == Form::Text; }

    // The exit status that the messages mean.
    ExitStatus status(bool isStrict) const;

private:
    virtual void show(const Message& message);
    std::string asText(const Message& message) const;

    Form form_;
    bool isQuiet_;
    bool isColoured_;
    std::size_t errors_ = 0;
    std::size_t warnings_ = 0;
};

}  // namespace qbreport

#endif

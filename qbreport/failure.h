// How the program ends.
#ifndef QBSVR_QBREPORT_FAILURE_H
#define QBSVR_QBREPORT_FAILURE_H

#include <stdexcept>
#include <string>

namespace qbreport {

enum class ExitStatus : int {
    Good = 0,
    Failed = 1,
    WrongUse = 2,
    Warnings = 3,  // with --strict
};

// Ends a command. what() is a sentence with a remedy; it is empty if the messages already have the cause.
class Failure : public std::runtime_error {
public:
    explicit Failure(const std::string& message, ExitStatus status = ExitStatus::Failed)
        : std::runtime_error(message), status_(status) {}
    ExitStatus status() const { return status_; }

private:
    ExitStatus status_;
};

// The command line asks for something that cannot be done, whatever the files contain.
class WrongUse : public Failure {
public:
    explicit WrongUse(const std::string& message) : Failure(message, ExitStatus::WrongUse) {}
};

}  // namespace qbreport

#endif

#include <exception>
#include <new>

#include "qbreport/command_line.h"
#include "qbreport/engine_setup.h"
#include "qbreport/interrupt.h"
#include "qbreport/messages.h"

namespace {

using namespace qbreport;

ExitStatus fail(Messages& messages, const Failure& failure) {
    if (*failure.what() != '\0') messages.write({Severity::Error, failure.what()});
    return failure.status();
}

ExitStatus run(const CommandLine& line) {
    Messages messages(line.form, line.isQuiet);
    try {
        setUpEngine(line.engine);
        return line.run(messages);
    } catch (const Failure& failure) {
        return fail(messages, failure);
    } catch (const std::bad_alloc&) {
        return fail(messages, Failure("out of memory"));
    } catch (const std::exception& error) {
        return fail(messages, Failure(error.what()));
    }
}

}  // namespace

int main(int argumentCount, char** arguments) {
    catchInterrupts();
    ExitStatus status = ExitStatus::Good;
    try {
        status = run(parseCommandLine(argumentCount, arguments));
    } catch (const Failure& failure) {
        Messages messages(formIn(argumentCount, arguments), false);
        status = fail(messages, failure);
    }
    endIfInterrupted();
    return static_cast<int>(status);
}

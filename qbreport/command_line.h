// The command line: commands, flags, help.
#ifndef QBSVR_QBREPORT_COMMAND_LINE_H
#define QBSVR_QBREPORT_COMMAND_LINE_H

#include <functional>

#include "qbreport/commands.h"
#include "qbreport/messages.h"

namespace qbreport {

struct CommandLine {
    Messages::Form form = Messages::Form::Text;
    bool isQuiet = false;
    EngineOptions engine;
    std::function<ExitStatus(Messages&)> run;
};

// Raises WrongUse. A question for help or for the version is a command that answers it.
CommandLine parseCommandLine(int argumentCount, char** arguments);

// The form of messages before the command line is understood.
Messages::Form formIn(int argumentCount, char** arguments);

}  // namespace qbreport

#endif

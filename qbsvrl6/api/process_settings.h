// What holds for all reports of the process: the settings file's word, and what the program sets after it.
#ifndef QBSVR_QBSVRL6_API_PROCESS_SETTINGS_H
#define QBSVR_QBSVRL6_API_PROCESS_SETTINGS_H

#include <functional>
#include <string>

#include "qbsvrl6/support/budget.h"

namespace qbsvrl6 {

struct ProcessSettings {
    Budget budget;
};

// Reads the settings of this set-up folder anew. Errors in them are logged, and hold up every export until
// they are mended: a limit that is misspelt must not be missing in silence.
void loadProcessSettings(const std::string& setupPath);

// A copy, since any thread may change them. Without a set-up folder the user's own settings hold. Raises
// EngineError where the settings file is wrong.
ProcessSettings processSettings();

// Changes them from now on; work that runs keeps what it began with. `change` also gets what the settings file
// says. Raises as processSettings does.
void changeProcessSettings(
    const std::function<void(ProcessSettings& settings, const ProcessSettings& fromFile)>& change);

}  // namespace qbsvrl6

#endif

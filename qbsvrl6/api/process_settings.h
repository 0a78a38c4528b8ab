// The settings of the whole process: those of the settings file, and the program's changes to them.
#ifndef QBSVR_QBSVRL6_API_PROCESS_SETTINGS_H
#define QBSVR_QBSVRL6_API_PROCESS_SETTINGS_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "qbsvrl6/data/row_groups.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/reach.h"

namespace qbsvrl6 {

struct ProcessSettings {
    Budget budget;
    std::shared_ptr<const ReachRules> reach = std::make_shared<const ReachRules>();
    bool defuseFormulas = false;                  // in CSV
    std::uint64_t rowMemory = kDefaultRowMemory;  // of the rows of all data sets
};

// "yes" or "no". Raises EngineError for anything else.
bool switchFrom(const std::string& value);

// Reads the settings file of this set-up folder again. If it has an error, that is logged and every export
// fails until it is fixed: a misspelt limit must not be ignored silently.
void loadProcessSettings(const std::string& setupPath);

// A copy, since any thread may change them. If no set-up folder was set, the user's own settings file
// applies. Raises EngineError if the settings file has an error.
ProcessSettings processSettings();

// Changes them for work that starts later. `change` also receives the settings of the file. Raises as
// processSettings does.
void changeProcessSettings(
    const std::function<void(ProcessSettings& settings, const ProcessSettings& fromFile)>& change);

}  // namespace qbsvrl6

#endif

// The settings file: what the keeper of a machine allows the engine. One setting a line, "name = value"; "#"
// begins a comment. It is qbsvrl6.conf in the set-up folder, beside the log folder, or else qbsvrl6.conf in
// the user's folder of settings ($XDG_CONFIG_HOME or ~/.config).
#ifndef QBSVR_QBSVRL6_SUPPORT_SETTINGS_H
#define QBSVR_QBSVRL6_SUPPORT_SETTINGS_H

#include <string>
#include <vector>

#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

struct Setting {
    std::string name;   // UTF-8, without blanks around it, as the value is
    std::string value;  // not empty
    SourcePlace place;
};

// The settings that hold for a program with this set-up folder, in the order of the file; none without a
// file. Raises EngineError with its place for a line that is no setting, and for a file that can't be read.
std::vector<Setting> readSettings(const std::string& setupPath);

}  // namespace qbsvrl6

#endif

// The settings file, in which the administrator of a machine limits the engine. It has one setting per line,
// "name = value"; "#" begins a comment. It is qbsvrl6.conf in the set-up folder, or else in the user's
// configuration folder ($XDG_CONFIG_HOME or ~/.config).
#ifndef QBSVR_QBSVRL6_SUPPORT_SETTINGS_H
#define QBSVR_QBSVRL6_SUPPORT_SETTINGS_H

#include <string>
#include <vector>

#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

struct Setting {
    std::string name;   // UTF-8, without surrounding spaces, like the value
    std::string value;  // not empty
    SourcePlace place;
};

// The settings for a program with this set-up folder, in the order of the file; none if there is no file.
// Raises EngineError with the position for an invalid line, and for a file that can't be read.
std::vector<Setting> readSettings(const std::string& setupPath);

}  // namespace qbsvrl6

#endif

// The engine's log: one line an event, "date time level thread message", in log/qbsvrl6.log below the set-up
// path, or in the user's state directory ($XDG_STATE_HOME or ~/.local/state, then "qbsvrl6/qbsvrl6.log")
// where that can't be written. Safe from any thread; logging never fails the caller.
#ifndef QBSVR_QBSVRL6_SUPPORT_LOG_H
#define QBSVR_QBSVRL6_SUPPORT_LOG_H

#include <string>
#include <string_view>

namespace qbsvrl6 {

// Chooses the log's place. Until it is called, the user's state directory holds the log. The file is opened
// by the first line that is written.
void setLogSetupPath(const std::string& setupPath);

void logError(std::string_view message);
void logWarning(std::string_view message);
void logInfo(std::string_view message);

}  // namespace qbsvrl6

#endif

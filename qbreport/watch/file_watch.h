// Notices when files change.
#ifndef QBSVR_QBREPORT_WATCH_FILE_WATCH_H
#define QBSVR_QBREPORT_WATCH_FILE_WATCH_H

#include <chrono>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "qbreport/descriptor.h"

namespace qbreport {

class FileWatch {
public:
    FileWatch();

    // Watches these files from now on, also before they exist: their folders are what is watched, because
    // editors replace files.
    void setFiles(const std::vector<std::string>& files);

    // Waits until one of the files has been written or replaced, at most for `time`. `every`: or any other file
    // of their folders, which may be one that is missing.
    bool wait(std::chrono::milliseconds time, bool every);

private:
    bool readEvents(bool every);

    Descriptor events_;
    std::map<std::string, int> folders_;          // their watches
    std::map<int, std::set<std::string>> names_;  // of files, by the watch of their folder
};

}  // namespace qbreport

#endif

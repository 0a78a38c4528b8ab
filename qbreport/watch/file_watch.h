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

    // Watches these files from now on, also before they or their folders exist: the folders are what is
    // watched, because editors replace files.
    void setFiles(const std::vector<std::string>& files);

    // Waits until one of the files has been written or replaced, at most for `time`. `every`: or any other file
    // of their folders, which may be one that is missing.
    bool wait(std::chrono::milliseconds time, bool every);

private:
    struct Folder {
        int watch = -1;               // -1: there is no such folder now
        std::set<std::string> names;  // of the files
    };

    bool watchFolders();
    bool readEvents(bool every);

    Descriptor events_;
    std::map<std::string, Folder> folders_;
};

}  // namespace qbreport

#endif

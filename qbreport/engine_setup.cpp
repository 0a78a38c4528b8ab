#include "qbreport/engine_setup.h"

#include <cstdlib>
#include <filesystem>
#include <string>

#include "engine/qbsvr_more.h"
#include "qbreport/files.h"
#include "qbreport/limits.h"

namespace qbreport {

namespace {

std::string joined(const std::vector<std::string>& entries, char separator) {
    std::string list;
    for (const std::string& entry : entries) {
        if (!list.empty()) list += separator;
        list += entry;
    }
    return list;
}

void requireFolder(const std::string& folder) {
    if (fileKind(folder) != FileKind::Folder) throw Failure("there is no folder \"" + folder + "\"");
}

void setReach(const EngineOptions& options) {
    if (options.allowedFolders.empty() && options.allowedHosts.empty()) return;
    std::vector<std::string> folders;
    for (const std::string& folder : options.allowedFolders) {
        const bool isWord = folder == "any" || folder == "none";
        if (!isWord) requireFolder(folder);
        folders.push_back(isWord ? folder : std::filesystem::absolute(folder).lexically_normal().string());
        if (folders.back().find(':') != std::string::npos) {
            throw WrongUse("the folder \"" + folder + "\" cannot be allowed: its path has a colon");
        }
    }
    const std::string folderList = joined(folders, ':');
    const std::string hostList = joined(options.allowedHosts, ',');
    QBXReach reach{sizeof reach, folders.empty() ? nullptr : folderList.c_str(),
                   options.allowedHosts.empty() ? nullptr : hostList.c_str()};
    if (QBXSetReach(&reach) == 0) {
        throw WrongUse("\"" + hostList +
                       "\" is no list of hosts; --allow-host accepts a name, *.domain, an address, a "
                       "network such as 10.1.0.0/16, any or none");
    }
}

}  // namespace

void setUpEngine(const EngineOptions& options) {
    // Messages go to standard error. The engine writes its log only into a set-up folder: /dev/null is no
    // folder.
    ::setenv("XDG_STATE_HOME", "/dev/null", 1);
    if (!options.setupFolder.empty()) requireFolder(options.setupFolder);
    // The working directory may change later.
    const std::filesystem::path setup =
        options.setupFolder.empty() ? "" : std::filesystem::absolute(options.setupFolder);
    QBInitConfig(setup.u16string().c_str());
    for (const std::string& folder : options.fontFolders) {
        requireFolder(folder);
        if (QBXAddFontFolder(folder.c_str()) == 0) {
            throw Failure("the fonts of \"" + folder + "\" cannot be used");
        }
    }
    setReach(options);
    std::vector<std::string> budget = options.budget;
    if (!options.timeLimit.empty()) budget.push_back("wall-time=" + options.timeLimit);
    setBudget(budget);
}

}  // namespace qbreport

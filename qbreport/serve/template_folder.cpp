#include "qbreport/serve/template_folder.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>

#include "qbreport/failure.h"

namespace qbreport {

namespace {

constexpr std::string_view kExtension = ".qbf";
constexpr std::size_t kMostNames = 10'000;
constexpr int kMostDepth = 16;

Descriptor openBelow(int folder, const std::string& path) {
    open_how how{};
    how.flags = O_RDONLY | O_CLOEXEC | O_NONBLOCK;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
    return Descriptor(static_cast<int>(::syscall(SYS_openat2, folder, path.c_str(), &how, sizeof how)));
}

// Neither hidden files nor control characters.
bool isName(std::string_view name) {
    const bool isPlain = std::all_of(name.begin(), name.end(), [](char c) {
        return static_cast<unsigned char>(c) >= 0x20 && c != 0x7F && c != '\\';
    });
    return isPlain && !name.empty() && ("/" + std::string(name)).find("/.") == std::string::npos;
}

}  // namespace

TemplateFolder::TemplateFolder(const std::string& path)
    : path_(std::filesystem::weakly_canonical(path).string()),
      folder_(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (!folder_.isOpen()) throw Failure("the folder \"" + path + "\": " + std::strerror(errno));
    if (!openBelow(folder_.number(), ".").isOpen() && errno == ENOSYS) {
        throw Failure("this system cannot keep names below a folder; it needs Linux 5.6");
    }
}

std::optional<TemplateFile> TemplateFolder::find(const std::string& name) const {
    if (!isName(name)) return std::nullopt;
    TemplateFile found;
    found.path = name.ends_with(kExtension) ? name : name + std::string(kExtension);
    found.file = openBelow(folder_.number(), found.path);
    if (!found.file.isOpen() || ::fstat(found.file.number(), &found.status) != 0 ||
        !S_ISREG(found.status.st_mode)) {
        return std::nullopt;
    }
    return found;
}

std::vector<std::string> TemplateFolder::names() const {
    namespace fs = std::filesystem;
    std::vector<std::string> names;
    std::error_code failed;
    fs::recursive_directory_iterator entry(path_, fs::directory_options::skip_permission_denied, failed);
    for (const fs::recursive_directory_iterator end; !failed && entry != end && names.size() < kMostNames;
         entry.increment(failed)) {
        if (entry.depth() >= kMostDepth) entry.disable_recursion_pending();
        const std::string name = entry->path().lexically_relative(path_).string();
        if (!name.ends_with(kExtension) || !find(name)) continue;
        names.push_back(name.substr(0, name.size() - kExtension.size()));
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace qbreport

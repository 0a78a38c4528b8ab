#include "qbsvrl6/support/settings.h"

#include <unistd.h>

#include <cstdlib>
#include <string_view>

#include "qbsvrl6/support/files.h"

namespace qbsvrl6 {

namespace {

constexpr const char* kFile = "qbsvrl6.conf";
constexpr std::size_t kMostBytes = 1u << 20;

// Empty if the user has no such folder.
std::string userFolder() {
    // A program that runs with more rights than its caller ignores the caller's environment.
    const char* config = ::secure_getenv("XDG_CONFIG_HOME");
    if (config != nullptr && *config == '/') return config;
    const char* home = ::secure_getenv("HOME");
    return home != nullptr && *home == '/' ? std::string(home) + "/.config" : std::string();
}

std::string fileIn(const std::string& folder) {
    return folder.empty() || folder.back() == '/' ? folder + kFile : folder + "/" + kFile;
}

// Empty if there is none.
std::string settingsFile(const std::string& setupPath) {
    for (const std::string& folder : {setupPath, userFolder()}) {
        if (!folder.empty() && ::access(fileIn(folder).c_str(), F_OK) == 0) return fileIn(folder);
    }
    return {};
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kSpaces = " \t\r";
    const std::size_t first = text.find_first_not_of(kSpaces);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(kSpaces) + 1 - first);
}

}  // namespace

std::vector<Setting> readSettings(const std::string& setupPath) {
    std::vector<Setting> settings;
    const std::string file = settingsFile(setupPath);
    if (file.empty()) return settings;
    const std::string text = readFile(file, kMostBytes);
    int line = 0;
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t end = rest.find('\n');
        const std::string_view whole = rest.substr(0, end);
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
        const SourcePlace place{file, {++line, 0}};
        const std::string_view setting = trimmed(whole.substr(0, whole.find('#')));
        if (setting.empty()) continue;
        const std::size_t sign = setting.find('=');
        const std::string_view name = trimmed(setting.substr(0, sign));
        const std::string_view value =
            sign == std::string_view::npos ? std::string_view() : trimmed(setting.substr(sign + 1));
        if (name.empty() || value.empty()) {
            throw EngineError(ErrorCode::NotSupported, "a setting has the form name = value", place);
        }
        settings.push_back({std::string(name), std::string(value), place});
    }
    return settings;
}

}  // namespace qbsvrl6

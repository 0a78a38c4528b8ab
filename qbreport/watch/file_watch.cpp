#include "qbreport/watch/file_watch.h"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "qbreport/failure.h"

namespace qbreport {

namespace {

constexpr std::uint32_t kChanges = IN_CLOSE_WRITE | IN_MOVED_TO | IN_DELETE;
// An editor that replaces a file causes several events at once.
constexpr int kBetweenEvents = 10;  // milliseconds
constexpr int kMostBatches = 20;

// What editors and browsers leave beside a file for a moment.
bool isTemporary(std::string_view name) {
    return name.empty() || name.starts_with('.') || name.ends_with('~') || name.ends_with(".swp") ||
           name.ends_with(".tmp");
}

}  // namespace

FileWatch::FileWatch() : events_(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
    if (!events_.isOpen()) throw Failure(std::string("files cannot be watched: ") + std::strerror(errno));
}

void FileWatch::setFiles(const std::vector<std::string>& files) {
    std::map<std::string, std::set<std::string>> wanted;
    for (const std::string& file : files) {
        const std::filesystem::path path = std::filesystem::absolute(file).lexically_normal();
        wanted[path.parent_path().string()].insert(path.filename().string());
    }
    for (auto at = folders_.begin(); at != folders_.end();) {
        const bool isWanted = wanted.contains(at->first);
        if (!isWanted) ::inotify_rm_watch(events_.number(), at->second);
        at = isWanted ? std::next(at) : folders_.erase(at);
    }
    names_.clear();
    for (const auto& [folder, names] : wanted) {
        const auto [known, isNew] = folders_.try_emplace(folder, -1);
        if (isNew || known->second < 0) {
            known->second = ::inotify_add_watch(events_.number(), folder.c_str(), kChanges);
        }
        if (known->second >= 0) names_[known->second].insert(names.begin(), names.end());
    }
}

bool FileWatch::readEvents(bool every) {
    alignas(inotify_event) char bytes[16'384];
    bool hasChanged = false;
    for (;;) {
        const ssize_t size = ::read(events_.number(), bytes, sizeof bytes);
        if (size <= 0) return hasChanged;
        for (ssize_t at = 0; at < size;) {
            const auto* const event = reinterpret_cast<const inotify_event*>(bytes + at);
            const std::string name = event->len > 0 ? event->name : "";
            const auto watched = names_.find(event->wd);
            const bool isFile = watched != names_.end() && watched->second.contains(name);
            const bool isLost = (event->mask & IN_Q_OVERFLOW) != 0;
            hasChanged = hasChanged || isFile || isLost || (every && !isTemporary(name));
            at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
        }
    }
}

bool FileWatch::wait(std::chrono::milliseconds time, bool every) {
    pollfd events{events_.number(), POLLIN, 0};
    if (::poll(&events, 1, static_cast<int>(time.count())) <= 0) return false;
    bool hasChanged = readEvents(every);
    for (int i = 0; i<kMostBatches&& ::poll(&events, 1, kBetweenEvents)> 0; ++i) {
        hasChanged = readEvents(every) || hasChanged;
    }
    return hasChanged;
}

}  // namespace qbreport

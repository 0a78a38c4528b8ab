#include "qbreport/watch/file_watch.h"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

#include "qbreport/failure.h"

namespace qbreport {

namespace {

constexpr std::uint32_t kChanges = IN_CLOSE_WRITE | IN_MOVED_TO | IN_DELETE | IN_MOVE_SELF | IN_ONLYDIR;
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
    std::map<std::string, Folder> wanted;
    for (const std::string& file : files) {
        const std::filesystem::path path = std::filesystem::absolute(file).lexically_normal();
        wanted[path.parent_path().string()].names.insert(path.filename().string());
    }
    std::set<int> kept;  // one watch may be that of several names of a folder
    for (auto& [path, folder] : wanted) {
        const auto known = folders_.find(path);
        if (known == folders_.end()) continue;
        folder.watch = known->second.watch;
        kept.insert(folder.watch);
    }
    for (const auto& [path, folder] : folders_) {
        if (folder.watch >= 0 && kept.insert(folder.watch).second)
            ::inotify_rm_watch(events_.number(), folder.watch);
    }
    folders_ = std::move(wanted);
    watchFolders();
}

// Returns whether a folder that was missing is there.
bool FileWatch::watchFolders() {
    bool hasCome = false;
    for (auto& [path, folder] : folders_) {
        if (folder.watch >= 0) continue;
        folder.watch = ::inotify_add_watch(events_.number(), path.c_str(), kChanges);
        hasCome = hasCome || folder.watch >= 0;
    }
    return hasCome;
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
            const bool isLost = (event->mask & IN_Q_OVERFLOW) != 0;
            const bool isMoved = (event->mask & IN_MOVE_SELF) != 0;
            hasChanged = hasChanged || isLost || isMoved || (every && !isTemporary(name));
            for (auto& [path, folder] : folders_) {
                if (folder.watch != event->wd) continue;
                hasChanged = hasChanged || folder.names.contains(name);
                // Another folder may take the name of one that is moved or removed.
                if (isMoved || (event->mask & IN_IGNORED) != 0) folder.watch = -1;
            }
            if (isMoved) ::inotify_rm_watch(events_.number(), event->wd);
            at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
        }
    }
}

bool FileWatch::wait(std::chrono::milliseconds time, bool every) {
    if (watchFolders()) return true;
    pollfd events{events_.number(), POLLIN, 0};
    if (::poll(&events, 1, static_cast<int>(time.count())) <= 0) return false;
    bool hasChanged = readEvents(every);
    for (int i = 0; i<kMostBatches&& ::poll(&events, 1, kBetweenEvents)> 0; ++i) {
        hasChanged = readEvents(every) || hasChanged;
    }
    return hasChanged;
}

}  // namespace qbreport

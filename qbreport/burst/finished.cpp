#include "qbreport/burst/finished.h"

#include <sys/stat.h>

#include <algorithm>

#include "qbreport/burst/digest.h"
#include "qbreport/failure.h"

namespace qbreport {

namespace {

// The members whose values differ: "template, options".
std::string differences(const std::string& before, const std::string& now) {
    std::string names;
    for (const auto& [name, value] : membersOf(now)) {
        if (memberOf(before, name) != value) names += (names.empty() ? "" : ", ") + name;
    }
    return names.empty() ? "members" : names;
}

void join(const std::string& first, const std::string& second, const std::string& head) {
    const std::string draft = second + ".join";
    MergedManifests inputs;
    inputs.add(first);
    inputs.add(second);
    ManifestWriter joined(draft, head, 0);
    for (Entry entry; inputs.next(entry);) joined.add(entry.line(false));
    joined.flush(true);
    rename(draft, second);
    remove(first);
}

}  // namespace

std::string partOf(const std::string& path) { return path + ".part"; }
std::string earlierOf(const std::string& path) { return path + ".earlier"; }

void requireHead(const std::string& manifest, const std::string& head) {
    const ManifestReader reader(manifest);
    if (reader.head().empty() || reader.head() == head) return;
    throw Failure("\"" + manifest + "\" is of another run: it differs in " +
                  differences(reader.head(), head) +
                  "; make all documents anew without --resume, or use the same inputs");
}

FinishedFiles::FinishedFiles(const std::string& manifest, const std::string& head) {
    const std::string part = partOf(manifest);
    const std::string earlier = earlierOf(manifest);
    for (const std::string& path : {manifest, part, earlier}) requireHead(path, head);
    if (exists(part) && exists(earlier)) {
        join(part, earlier, head);
    } else if (exists(part)) {
        rename(part, earlier);
    }
    entries_.add(earlier);
    entries_.add(manifest);
    hasEntry_ = entries_.next(entry_);
}

FinishedFiles::FinishedFiles(const std::string& manifest) {
    entries_.add(manifest);
    hasEntry_ = entries_.next(entry_);
}

std::optional<Entry> FinishedFiles::find(const Document& document) {
    while (hasEntry_ && entry_.at < document.at) hasEntry_ = entries_.next(entry_);
    if (!hasEntry_ || entry_.at != document.at) return std::nullopt;
    return entry_;
}

bool isOf(const Entry& entry, const Document& document, const std::string& name) {
    return entry.at == document.at && entry.key == document.key && entry.file == name &&
           entry.rows == document.rows && entry.data == digestOf(document.data);
}

bool isFinished(const Entry& entry, const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           static_cast<std::uint64_t>(status.st_size) == entry.bytes && digestOfFile(path) == entry.digest;
}

void reopenArchive(const RunFiles& files) {
    const std::string part = partOf(files.manifest);
    if (!exists(part) && exists(files.manifest)) rename(files.manifest, part);
    if (exists(part) && !exists(partOf(files.archive)) && exists(files.archive))
        rename(files.archive, partOf(files.archive));
}

}  // namespace qbreport
